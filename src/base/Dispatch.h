// Where code with a life gets its queues from: the main thread, queues of its own, and work beside everything else.
// Tests give one that runs it all on a hand-moved clock.
//   Threads  any
#pragma once

#include "base/Scheduler.h"

#include <memory>
#include <string>

namespace base {

class Dispatch {
public:
    virtual ~Dispatch() = default;
    [[nodiscard]] virtual Scheduler& main() = 0;
    [[nodiscard]] virtual std::shared_ptr<Scheduler> makeSerialQueue(std::string label, Priority priority) = 0;
    /// Runs `task` on a thread of its own beside all others. For work that may block for long.
    virtual void background(Priority priority, Task task) = 0;
};

/// The real one. `main` must outlive it; background work must have ended before the process leaves main().
class ThreadDispatch final : public Dispatch {
public:
    explicit ThreadDispatch(Scheduler& main);
    ~ThreadDispatch() override; ///< waits for the background work
    [[nodiscard]] Scheduler& main() override;
    [[nodiscard]] std::shared_ptr<Scheduler> makeSerialQueue(std::string label, Priority priority) override;
    void background(Priority priority, Task task) override;

private:
    struct State;
    Scheduler& m_main;
    std::shared_ptr<State> m_state;
};

} // namespace base
