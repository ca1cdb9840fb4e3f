// One screenshot of a meeting.
#pragma once

#include <QStringView>

#include <cstdint>
#include <filesystem>
#include <optional>

namespace store {

struct MeetingShot {
    std::filesystem::path url;
    std::int64_t seconds = 0; ///< position in the recording
    bool operator==(const MeetingShot&) const = default;

    /// The seconds in a name such as "shot_0030s.jpg" or "shot_0030s_2.jpg"; nullopt for a name of another shape. The
    /// beginning is told by case, the ending is not.
    [[nodiscard]] static std::optional<std::int64_t> secondsFromName(QStringView name);
};

} // namespace store
