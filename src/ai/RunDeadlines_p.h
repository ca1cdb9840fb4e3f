// When a child is stopped, when it is killed, and when listening to it ends. Pure: the times are given.
//   Units    seconds of one monotonic clock
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace ai {

class RunDeadlines {
public:
    enum class Action { Wait, Terminate, Kill, Finish };

    struct Limits {
        double killAfter = 0;
        double drain = 0;
    };

    RunDeadlines(double launched, double timeout, Limits limits) noexcept
        : m_limits(limits)
        , m_timeoutAt(launched + (std::isnan(timeout) ? 0.0 : std::max(timeout, 0.0))) {}

    void cancelled() noexcept { m_cancelled = true; }

    void exited(double now) noexcept { m_exitedAt = now; }

    [[nodiscard]] bool timedOut() const noexcept { return m_timedOut; }

    [[nodiscard]] bool stopped() const noexcept { return m_stoppedAt.has_value(); }

    [[nodiscard]] bool hasExited() const noexcept { return m_exitedAt.has_value(); }

    /// What is due at `now`; call it again after each action until it says Wait or Finish.
    [[nodiscard]] Action next(double now) noexcept {
        if (m_exitedAt) {
            // The output of a stopped run is not reported, so nobody needs to wait for it.
            const bool nothingToHear = m_cancelled || m_timedOut;
            return nothingToHear || now >= *m_exitedAt + m_limits.drain ? Action::Finish : Action::Wait;
        }
        if (now >= m_timeoutAt) {
            m_timedOut = true;
        }
        if (!m_stoppedAt && (m_timedOut || m_cancelled)) {
            m_stoppedAt = now;
            return Action::Terminate;
        }
        if (m_stoppedAt && !m_killed && now >= *m_stoppedAt + m_limits.killAfter) {
            m_killed = true;
            return Action::Kill;
        }
        return Action::Wait;
    }

    /// The next moment at which time alone changes the answer of next(); infinity if none does.
    [[nodiscard]] double nextChange() const noexcept {
        if (m_exitedAt) {
            return *m_exitedAt + m_limits.drain;
        }
        double moment = m_timedOut ? std::numeric_limits<double>::infinity() : m_timeoutAt;
        if (m_stoppedAt && !m_killed) {
            moment = std::min(moment, *m_stoppedAt + m_limits.killAfter);
        }
        return moment;
    }

private:
    Limits m_limits;
    double m_timeoutAt;
    bool m_cancelled = false;
    bool m_timedOut = false;
    bool m_killed = false;
    std::optional<double> m_stoppedAt;
    std::optional<double> m_exitedAt;
};

} // namespace ai
