// Heals what a crash, a power cut or a kill left of a recording: converts the CAFs that are still there, completes
// meta.json and gives the folder a proper name. It asks nobody; a healed meeting shows up without answers.
//   Order     the CAFs go last, when the m4a, the completed meta.json and the new name are on the disk, so that healing
//             can be cut off anywhere and done again with the same end
//   Errors    in the outcomes; a track that never got a frame is no failure and stays as it is
//   Threads   any; nothing else may write in the folders meanwhile
#pragma once

#include "base/WallClock.h"
#include "store/ConvertError.h"
#include "store/MeetingLibrary.h"

#include <QString>
#include <QStringList>

#include <array>
#include <filesystem>
#include <functional>
#include <vector>

namespace store::Recovery {

/// File stems of the tracks, in the order in which they are healed.
inline constexpr std::array<const char*, 2> trackNames{"mic", "system"};

struct Track {
    QString name;
    double seconds = 0;
    bool operator==(const Track&) const = default;
};

struct Outcome {
    std::filesystem::path folder; ///< after healing, under its new name if it got one
    std::vector<Track> tracks{};  ///< that were converted
    QStringList failures{};       ///< one text each
    bool metaWritten = false;
    bool operator==(const Outcome&) const = default;
};

/// Whether a recording is writing into the folder.
using IsLive = std::function<bool(const std::filesystem::path&)>;

/// The standardized paths of the folders that run() will heal: those with a CAF, or with a meta.json that has no end.
/// Quick.
[[nodiscard]] MeetingLibrary::FolderSet pending(const std::filesystem::path& meetings, const IsLive& isLive);

/// Heals one folder after the other, by name. Takes minutes where recordings are long. `clock` tells the zone of the
/// stamps, and the end of a recording that left no file to tell it.
[[nodiscard]] std::vector<Outcome> run(const std::filesystem::path& meetings, const IsLive& isLive,
                                       const ConvertToM4A& convert, const base::WallClock& clock);

} // namespace store::Recovery
