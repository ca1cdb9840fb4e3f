#include "store/MeetingArchive.h"

#include "copy/Strings.h"
#include "store/MeetingNaming.h"

namespace store::MeetingArchive {

namespace fs = std::filesystem;

fs::path metaURL(const fs::path& folder) {
    return folder / "meta.json";
}

std::expected<void, base::FileError> writeMeta(const MeetingMeta& meta, const fs::path& folder) {
    const auto bytes = meta.data();
    if (!bytes) {
        return std::unexpected(bytes.error());
    }
    return base::replaceFile(metaURL(folder), *bytes);
}

std::optional<MeetingMeta> readMeta(const fs::path& folder) {
    const auto bytes = base::readFile(metaURL(folder), metaLimit);
    return bytes ? MeetingMeta::decode(*bytes) : std::nullopt;
}

fs::path finalize(const StoppedSession& stopped, const std::optional<MeetingAnswers>& answers,
                  const std::function<void(const QString&)>& onWarning, const QTimeZone& timeZone) {
    const auto given = stopped.practice ? std::nullopt : answers;
    const auto mode = stopped.practice ? std::optional(MeetingMeta::practiceMode) : std::nullopt;
    const auto meta = MeetingMeta::make(stopped.start, stopped.end, stopped.duration, given, stopped.screenshotsEnabled,
                                        mode, timeZone);
    if (const auto written = writeMeta(meta, stopped.folder); !written && onWarning) {
        onWarning(copy::Strings::metaWriteFailed(written.error().text));
    }
    if (stopped.practice) {
        return stopped.folder;
    }
    const auto note = given ? std::optional(given->note) : std::nullopt;
    const QString name = MeetingNaming::folderName(stopped.start, note, timeZone);
    if (name == base::nameText(stopped.folder)) {
        return stopped.folder;
    }
    const fs::path target =
        MeetingNaming::uniqueURL(base::standardized(stopped.folder).parent_path(), name, base::nameTaken);
    return base::moveItem(stopped.folder, target) ? target : stopped.folder;
}

} // namespace store::MeetingArchive
