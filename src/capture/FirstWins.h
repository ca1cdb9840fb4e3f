// Decides a race between a result and a time limit. One per race.
//   Threads  any
#pragma once

#include <mutex>
#include <utility>

namespace capture {

class FirstWins {
public:
    /// True for the first caller, false for all others.
    [[nodiscard]] bool claim() {
        const std::lock_guard lock(m_lock);
        return !std::exchange(m_taken, true);
    }

private:
    std::mutex m_lock;
    bool m_taken = false; // guarded by m_lock
};

} // namespace capture
