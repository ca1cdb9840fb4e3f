// How a track of a recording is doing.
#pragma once

#include <QString>

#include <cstdint>
#include <optional>

namespace capture {

struct TrackHealth {
    std::int64_t buffers = 0; ///< received: in all from AudioTrackWriter, in the last period from HealthCheck::window
    std::optional<QString> error; ///< the last failure to convert or to write
    bool operator==(const TrackHealth&) const = default;
};

} // namespace capture
