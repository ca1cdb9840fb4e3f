// The status of AI work and the time that is left of it, as list rows and the meeting page say it.
//   Units    seconds left of the running step; without an estimate nullopt
//   Language page and row stay Chinese like what stands around them; minutesLeft and secondsLeft take the texts they
//            are given
//   Threads  any
#pragma once

#include "ai/AIStatus.h"
#include "copy/MainCopy.h"

#include <QString>

#include <optional>

namespace jobs::AIStatusText {

enum class Length { Long, Short };

/// The line of the meeting page. nullopt while no work waits or runs, so also after a failure.
[[nodiscard]] std::optional<QString> page(const std::optional<ai::AIStatus>& status, bool practice,
                                          std::optional<double> remaining);
/// The detail of a list row. For work that runs: anything but a summary counts as a transcription.
[[nodiscard]] QString row(const ai::AIStatus& status, bool practice, std::optional<double> remaining);

/// Whether the summary that the page shows is about to be replaced.
[[nodiscard]] bool rewrites(const std::optional<ai::AIStatus>& status);
/// The page's line while that is so.
[[nodiscard]] std::optional<QString> rewriting(const std::optional<ai::AIStatus>& status, bool practice,
                                               std::optional<double> remaining);

/// For a step of minutes: whole minutes, to the nearest one.
[[nodiscard]] QString minutesLeft(double seconds, Length length, const copy::MainCopy& copy);
/// For a step of seconds: up to a minute the next ten seconds, then minutes.
[[nodiscard]] QString secondsLeft(double seconds, Length length, const copy::MainCopy& copy);

} // namespace jobs::AIStatusText
