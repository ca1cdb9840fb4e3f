// A place where tasks run one after the other, in the order in which they were given: the main thread, or a
// serial queue with a thread of its own. Code with a life takes a Scheduler&, so that tests move its clock by hand.
//   Units    delays in seconds of the host clock; a delay below 0 counts as 0
//   Threads  every operation may be called from any thread unless it says otherwise
//   Owns     the tasks given to it; tasks that never ran are destroyed with it
//   Errors   none; a task must not let an exception escape
#pragma once

#include <functional>
#include <memory>

namespace base {

using Task = std::function<void()>;

/// A repeating timer: it fires for as long as this handle lives. Destroy it on its scheduler; it never fires after
/// that.
class Timer {
public:
    Timer() = default;
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
    virtual ~Timer() = default;
};

class Scheduler {
public:
    Scheduler() = default;
    Scheduler(const Scheduler&) = delete;
    Scheduler& operator=(const Scheduler&) = delete;
    virtual ~Scheduler() = default;

    /// Runs `task` later, after everything posted before it; never inside this call.
    virtual void post(Task task) = 0;
    /// Runs `task` when `seconds` have passed. It can't be taken back: make it harmless by a generation counter,
    /// and let it hold its object weakly.
    virtual void after(double seconds, Task task) = 0;
    /// Runs `task` after everything posted before it and returns when it has run. Never call it on the scheduler
    /// itself.
    virtual void sync(const Task& task) = 0;
    /// Fires every `seconds`, the first time after `seconds`. Call it on the scheduler. A firing that comes too late
    /// to be told from the next one is left out rather than doubled.
    [[nodiscard]] virtual std::unique_ptr<Timer> every(double seconds, Task task) = 0;
    /// Whether the calling thread is running this scheduler's tasks.
    [[nodiscard]] virtual bool isCurrent() const noexcept = 0;
};

/// How urgent the work of a queue is to the machine. Maps to a nice value where the system allows it.
enum class Priority { UserInitiated, Default, Utility };

} // namespace base
