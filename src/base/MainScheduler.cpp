#include "base/MainScheduler.h"

#include <QMetaObject>
#include <QObject>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace base {

namespace {

/// A timer of Qt counts whole milliseconds; rounding up keeps it from firing early.
std::chrono::milliseconds milliseconds(double seconds) {
    constexpr double longest = 2'000'000.0; // 23 days: what a Qt timer can hold
    return std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(std::clamp(seconds, 0.0, longest) * 1000.0)));
}

class QtTimer final : public Timer {
public:
    QtTimer(double seconds, Task task) : m_task(std::make_shared<Task>(std::move(task))) {
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, [held = m_task] {
            const auto alive = held; // the task may destroy its own timer
            (*alive)();
        });
        m_timer.start(std::max(milliseconds(seconds), std::chrono::milliseconds(1)));
    }

private:
    std::shared_ptr<Task> m_task;
    QTimer m_timer;
};

} // namespace

MainScheduler::MainScheduler() : m_context(std::make_unique<QObject>()) {}

MainScheduler::~MainScheduler() = default;

void MainScheduler::post(Task task) {
    QMetaObject::invokeMethod(m_context.get(), std::move(task), Qt::QueuedConnection);
}

void MainScheduler::after(double seconds, Task task) {
    // The timer must start on the main thread, and the wait counts from now.
    const auto start = [context = m_context.get(), delay = milliseconds(seconds), work = std::move(task)]() mutable {
        QTimer::singleShot(delay, Qt::PreciseTimer, context, std::move(work));
    };
    if (isCurrent()) {
        auto now = start;
        now();
    } else {
        QMetaObject::invokeMethod(m_context.get(), start, Qt::QueuedConnection);
    }
}

void MainScheduler::sync(const Task& task) {
    if (isCurrent()) {
        task();
        return;
    }
    QMetaObject::invokeMethod(m_context.get(), [&task] { task(); }, Qt::BlockingQueuedConnection);
}

std::unique_ptr<Timer> MainScheduler::every(double seconds, Task task) {
    return std::make_unique<QtTimer>(seconds, std::move(task));
}

bool MainScheduler::isCurrent() const noexcept {
    return m_context->thread() == QThread::currentThread();
}

} // namespace base
