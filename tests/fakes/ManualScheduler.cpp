#include "fakes/ManualScheduler.h"

#include "base/TimedTasks.h"

#include <algorithm>
#include <utility>

namespace fakes {

void ManualTimeline::add(double due, const base::Scheduler* where, base::Task task) {
    m_tasks.emplace(std::pair{due, m_order++}, Entry{where, std::move(task)});
}

void ManualTimeline::run(const base::Scheduler* where, const base::Task& task) {
    const auto* before = std::exchange(m_running, where);
    task();
    m_running = before;
}

void ManualTimeline::clear() {
    while (!m_tasks.empty()) {
        const auto dropped = std::exchange(m_tasks, {}); // what goes with a task may post another
    }
}

void ManualTimeline::runDue() {
    while (!m_tasks.empty() && m_tasks.begin()->first.first <= m_clock.now()) {
        const Entry entry = std::move(m_tasks.begin()->second);
        m_tasks.erase(m_tasks.begin());
        run(entry.where, entry.task);
    }
}

void ManualTimeline::advance(double seconds) {
    const double end = m_clock.now() + seconds;
    runDue();
    while (!m_tasks.empty() && m_tasks.begin()->first.first <= end) {
        m_clock.set(std::max(m_clock.now(), m_tasks.begin()->first.first));
        runDue();
    }
    m_clock.set(std::max(m_clock.now(), end));
    runDue();
}

void ManualTimeline::runPosted(const base::Scheduler* where) {
    const auto limit = m_order;
    for (;;) {
        const auto found = std::ranges::find_if(m_tasks, [&](const auto& task) {
            return task.second.where == where && task.first.first <= m_clock.now() && task.first.second < limit;
        });
        if (found == m_tasks.end()) {
            return;
        }
        const Entry entry = std::move(found->second);
        m_tasks.erase(found);
        run(entry.where, entry.task);
    }
}

ManualScheduler::ManualScheduler()
    : m_ownClock(std::make_unique<ManualClock>())
    , m_timeline(std::make_shared<ManualTimeline>(*m_ownClock)) {}

ManualScheduler::ManualScheduler(std::shared_ptr<ManualTimeline> timeline, std::string name, base::Priority urgency)
    : label(std::move(name))
    , priority(urgency)
    , m_timeline(std::move(timeline)) {}

ManualScheduler::~ManualScheduler() = default;

void ManualScheduler::post(base::Task task) {
    m_timeline->add(clock().now(), this, std::move(task));
}

void ManualScheduler::after(double seconds, base::Task task) {
    m_timeline->add(clock().now() + std::max(seconds, 0.0), this, std::move(task));
}

void ManualScheduler::sync(const base::Task& task) {
    m_timeline->runPosted(this);
    m_timeline->run(this, task);
}

std::unique_ptr<base::Timer> ManualScheduler::every(double seconds, base::Task task) {
    return base::startRepeating(*this, clock(), seconds, std::move(task));
}

bool ManualScheduler::isCurrent() const noexcept {
    return m_timeline->running() == this;
}

ManualDispatch::ManualDispatch()
    : m_timeline(std::make_shared<ManualTimeline>(clock))
    , m_main(m_timeline, "main")
    , m_background(m_timeline, "background") {}

ManualDispatch::~ManualDispatch() {
    m_held.clear();
    m_timeline->clear();
}

std::shared_ptr<base::Scheduler> ManualDispatch::makeSerialQueue(std::string label, base::Priority priority) {
    madeQueues.emplace_back(label, priority);
    return std::make_shared<ManualScheduler>(m_timeline, std::move(label), priority);
}

void ManualDispatch::background(base::Priority, base::Task task) {
    ++backgroundTasks;
    if (holdBackground) {
        m_held.push_back(std::move(task));
    } else {
        m_background.post(std::move(task));
    }
}

void ManualDispatch::releaseBackground() {
    holdBackground = false;
    for (base::Task& task : std::exchange(m_held, {})) {
        m_background.post(std::move(task));
    }
}

} // namespace fakes
