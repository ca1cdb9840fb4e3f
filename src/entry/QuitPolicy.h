// How long the program may take to end while it still saves something.
//   Units    seconds                            Threads  any; no state
#pragma once

#include <optional>

namespace entry::QuitPolicy {

/// Seconds of recording that earn one more second for their conversion.
inline constexpr double recordingSecondsPerSecond = 100.0;

[[nodiscard]] double limit(double base, std::optional<double> convertingSeconds);
/// The least wait while AI work runs.
[[nodiscard]] double aiWait();
/// The wait for everything else, before conversion adds to it.
[[nodiscard]] double terminateWaitLimit();

} // namespace entry::QuitPolicy
