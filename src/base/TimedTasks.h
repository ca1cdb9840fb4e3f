// Tasks that wait for their moment, and repeating timers made of them: shared by every Scheduler.
//   Units    seconds of the host clock
//   Threads  none of its own; TimedTasks is guarded by its owner
#pragma once

#include "base/HostClock.h"
#include "base/Scheduler.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <utility>

namespace base {

class TimedTasks {
public:
    void add(double due, Task task) { m_tasks.emplace(std::pair{due, m_order++}, std::move(task)); }

    /// The earliest task that is due at `now`; of two for the same moment the one that was added first.
    [[nodiscard]] std::optional<Task> takeDue(double now) {
        if (m_tasks.empty() || m_tasks.begin()->first.first > now) {
            return std::nullopt;
        }
        Task task = std::move(m_tasks.begin()->second);
        m_tasks.erase(m_tasks.begin());
        return task;
    }

    [[nodiscard]] std::optional<double> nextDue() const {
        return m_tasks.empty() ? std::nullopt : std::optional(m_tasks.begin()->first.first);
    }

    [[nodiscard]] bool empty() const { return m_tasks.empty(); }

private:
    std::map<std::pair<double, std::uint64_t>, Task> m_tasks;
    std::uint64_t m_order = 0;
};

/// A repeating timer over Scheduler::after: it keeps to its raster, and leaves out the firings it is too late for.
[[nodiscard]] std::unique_ptr<Timer> startRepeating(Scheduler& scheduler, const HostClock& clock, double seconds,
                                                    Task task);

/// Gives the calling thread the nice value of its class.
void applyPriority(Priority priority);

} // namespace base
