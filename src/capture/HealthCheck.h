// Which warnings apply to a running recording. Silent means that nothing arrived, not that it was quiet.
//   Units    seconds
//   Threads  any; no state
//   Errors   none
#pragma once

#include "capture/TrackHealth.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <set>

namespace capture::HealthCheck {

/// Period of the check. Seconds.
inline constexpr double interval = 5.0;
/// Until this much of the recording has passed an empty track is no problem. Seconds.
inline constexpr double graceSeconds = 5.0;

/// What happened since the check before; at the first one, all of it.
[[nodiscard]] TrackHealth window(const TrackHealth& now, const std::optional<TrackHealth>& previous);
/// The texts that apply now, at most one a track, the microphone's first. `mic` and `system` come from window();
/// no `system`: there is no such track.
[[nodiscard]] QStringList problems(double elapsed, const TrackHealth& mic, const std::optional<TrackHealth>& system);
/// Those of `active` that no longer apply, sorted.
[[nodiscard]] QStringList resolved(const std::set<QString>& active, const QStringList& current);

} // namespace capture::HealthCheck
