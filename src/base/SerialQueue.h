// A Scheduler with one thread of its own, named by its label.
//   Threads  any; destroying it waits for the task that runs and drops those that have not begun. The last handle
//            may be let go on the queue's own thread: then the thread ends by itself after the running task.
//   Idle     the thread sleeps without any wake-up while there is no work
#pragma once

#include "base/Scheduler.h"

#include <memory>
#include <string>

namespace base {

class SerialQueue final : public Scheduler {
public:
    /// `label` is the reverse-DNS name; the thread shows the last 15 bytes of it.
    explicit SerialQueue(std::string label, Priority priority = Priority::Default);
    ~SerialQueue() override;

    void post(Task task) override;
    void after(double seconds, Task task) override;
    void sync(const Task& task) override;
    [[nodiscard]] std::unique_ptr<Timer> every(double seconds, Task task) override;
    [[nodiscard]] bool isCurrent() const noexcept override;

    [[nodiscard]] const std::string& label() const noexcept;

private:
    struct State;
    std::shared_ptr<State> m_state;
};

} // namespace base
