// How often and how fast a lost capture is tried again.
//   Units    seconds; attempts count from 1
//   Threads  any; no state
#pragma once

namespace capture::RetryPolicy {

/// The highest attempt after whose failure another one follows.
inline constexpr int maxAttempts = 3;
/// Wait between tries. Seconds.
inline constexpr double delay = 2.0;

/// Whether another try follows after attempt number `attempt` has failed.
[[nodiscard]] constexpr bool shouldRetry(int attempt) noexcept {
    return attempt >= 1 && attempt <= maxAttempts;
}

} // namespace capture::RetryPolicy
