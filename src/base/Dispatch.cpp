#include "base/Dispatch.h"

#include "base/SerialQueue.h"
#include "base/TimedTasks.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace base {

struct ThreadDispatch::State {
    std::mutex mutex;
    std::condition_variable changed;
    int running = 0; // guarded by mutex
};

ThreadDispatch::ThreadDispatch(Scheduler& main) : m_main(main), m_state(std::make_shared<State>()) {}

ThreadDispatch::~ThreadDispatch() {
    std::unique_lock lock(m_state->mutex);
    m_state->changed.wait(lock, [this] { return m_state->running == 0; });
}

Scheduler& ThreadDispatch::main() {
    return m_main;
}

std::shared_ptr<Scheduler> ThreadDispatch::makeSerialQueue(std::string label, Priority priority) {
    return std::make_shared<SerialQueue>(std::move(label), priority);
}

void ThreadDispatch::background(Priority priority, Task task) {
    {
        const std::lock_guard lock(m_state->mutex);
        ++m_state->running;
    }
    std::thread([state = m_state, priority, work = std::move(task)]() mutable {
        applyPriority(priority);
        work();
        work = {}; // what it held is let go before it counts as ended
        const std::lock_guard lock(state->mutex);
        --state->running;
        state->changed.notify_all();
    }).detach();
}

} // namespace base
