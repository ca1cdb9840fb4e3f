#include "base/SerialQueue.h"

#include "base/HostClock.h"
#include "base/TimedTasks.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace base {

namespace {

constexpr int niceOfUtility = 5;

void nameThread(const std::string& label) {
    constexpr std::size_t longestName = 15;
    const std::string name = label.size() > longestName ? label.substr(label.size() - longestName) : label;
    pthread_setname_np(pthread_self(), name.c_str());
}

} // namespace

void applyPriority(Priority priority) {
    // Raising above the default needs rights that a user's program does not have; lowering always works.
    if (priority == Priority::Utility) {
        const auto thread = static_cast<id_t>(::syscall(SYS_gettid));
        setpriority(PRIO_PROCESS, thread, niceOfUtility);
    }
}

struct SerialQueue::State : std::enable_shared_from_this<SerialQueue::State> {
    explicit State(std::string name) : label(std::move(name)) {}

    const std::string label;
    MonotonicClock clock;
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<Task> ready; // guarded by mutex
    TimedTasks timed;       // guarded by mutex
    bool ending = false;    // guarded by mutex
    std::thread thread;     // joined or detached by the destructor of the queue
    std::atomic<std::thread::id> runner;

    void push(Task task) {
        {
            const std::lock_guard lock(mutex);
            if (ending) {
                return;
            }
            ready.push_back(std::move(task));
        }
        wake.notify_one();
    }

    void pushAt(double due, Task task) {
        {
            const std::lock_guard lock(mutex);
            if (ending) {
                return;
            }
            timed.add(due, std::move(task));
        }
        wake.notify_one();
    }

    /// Waits for the next task; empty when the queue ends.
    Task next() {
        std::unique_lock lock(mutex);
        for (;;) {
            if (ending) {
                return {};
            }
            const double now = clock.now();
            while (auto due = timed.takeDue(now)) {
                ready.push_back(std::move(*due));
            }
            if (!ready.empty()) {
                Task task = std::move(ready.front());
                ready.pop_front();
                return task;
            }
            if (const auto due = timed.nextDue()) {
                const auto until =
                    std::chrono::steady_clock::now() + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                                           std::chrono::duration<double>(*due - now));
                wake.wait_until(lock, until);
            } else {
                wake.wait(lock);
            }
        }
    }

    void run() {
        runner = std::this_thread::get_id();
        while (Task task = next()) {
            task();
        }
        dropTasks();
    }

    void dropTasks() {
        std::deque<Task> dropped;
        TimedTasks droppedTimed;
        {
            const std::lock_guard lock(mutex);
            dropped.swap(ready);
            std::swap(droppedTimed, timed);
        }
        // Their captures are let go here, without the lock: a destructor may post again.
    }
};

SerialQueue::SerialQueue(std::string label, Priority priority) : m_state(std::make_shared<State>(std::move(label))) {
    m_state->thread = std::thread([state = m_state, priority] {
        nameThread(state->label);
        applyPriority(priority);
        state->run();
    });
}

SerialQueue::~SerialQueue() {
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->ending = true;
    }
    m_state->wake.notify_one();
    if (m_state->thread.get_id() == std::this_thread::get_id()) {
        m_state->thread.detach(); // the running task holds the last handle; the thread keeps its state alive
    } else {
        m_state->thread.join();
    }
}

void SerialQueue::post(Task task) {
    m_state->push(std::move(task));
}

void SerialQueue::after(double seconds, Task task) {
    m_state->pushAt(m_state->clock.now() + std::max(seconds, 0.0), std::move(task));
}

void SerialQueue::sync(const Task& task) {
    if (isCurrent()) {
        task(); // waiting for oneself would never end
        return;
    }
    std::mutex mutex;
    std::condition_variable ran;
    bool done = false;
    post([&] {
        task();
        const std::lock_guard lock(mutex);
        done = true;
        ran.notify_one();
    });
    std::unique_lock lock(mutex);
    ran.wait(lock, [&] { return done; });
}

std::unique_ptr<Timer> SerialQueue::every(double seconds, Task task) {
    return startRepeating(*this, m_state->clock, seconds, std::move(task));
}

bool SerialQueue::isCurrent() const noexcept {
    return m_state->runner.load() == std::this_thread::get_id();
}

const std::string& SerialQueue::label() const noexcept {
    return m_state->label;
}

} // namespace base
