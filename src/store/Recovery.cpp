#include "store/Recovery.h"

#include "base/Files.h"
#include "base/Text.h"
#include "copy/Strings.h"
#include "store/FileDates.h"
#include "store/MeetingArchive.h"
#include "store/MeetingMeta.h"
#include "store/MeetingNaming.h"
#include "store/Subfolders.h"

#include <algorithm>
#include <optional>
#include <system_error>

namespace store::Recovery {

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

/// What a folder held before anything in it was touched.
struct Damage {
    std::vector<fs::path> cafs;
    std::optional<MeetingMeta> meta;
    std::optional<QDateTime> lastWritten; ///< the latest date of a CAF
    std::optional<QDateTime> created;     ///< the earliest one

    [[nodiscard]] bool metaIsComplete() const { return meta && meta->end && !meta->end->isEmpty(); }
};

bool isThere(const fs::path& path) {
    std::error_code unknown;
    return fs::exists(path, unknown);
}

std::optional<QDateTime> later(const std::optional<QDateTime>& left, const std::optional<QDateTime>& right) {
    return std::max(left, right); // an unknown date is before all others
}

std::optional<QDateTime> earlier(const std::optional<QDateTime>& left, const std::optional<QDateTime>& right) {
    return left && right ? std::min(left, right) : left ? left : right;
}

Damage examine(const fs::path& folder) {
    Damage damage;
    for (const char* name : trackNames) {
        const fs::path caf = folder / (std::string(name) + ".caf");
        if (isThere(caf)) {
            damage.cafs.push_back(caf);
            damage.lastWritten = later(damage.lastWritten, FileDates::modified(caf));
            damage.created = earlier(damage.created, FileDates::created(caf));
        }
    }
    damage.meta = MeetingArchive::readMeta(folder);
    return damage;
}

bool needsHealing(const Damage& damage) {
    return !damage.cafs.empty() || (damage.meta && !damage.metaIsComplete());
}

/// The latest date in a folder without CAFs.
QDateTime lastActivity(const fs::path& folder, const base::WallClock& clock) {
    std::optional<QDateTime> latest;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        latest = later(latest, FileDates::modified(entry->path()));
    }
    return latest.value_or(clock.now());
}

bool hasScreenshots(const fs::path& folder) {
    std::error_code error;
    fs::directory_iterator entry(folder / "shots", error);
    for (const fs::directory_iterator end; !error && entry != end; entry.increment(error)) {
        if (entry->path().native().ends_with(".jpg")) {
            return true;
        }
    }
    return false;
}

MeetingMeta rebuiltMeta(const fs::path& folder, const QDateTime& start, const QTimeZone& timeZone) {
    const bool practice = MeetingNaming::isPracticeFolder(base::nameText(folder));
    return MeetingMeta::started(start, hasScreenshots(folder),
                                practice ? std::optional(MeetingMeta::practiceMode) : std::nullopt, timeZone);
}

QDateTime startOf(const fs::path& folder, const Damage& damage, const QDateTime& lastActivity,
                  const QTimeZone& timeZone) {
    auto start = damage.meta ? MeetingLibrary::parseDate(damage.meta->start) : std::nullopt;
    if (!start) {
        start = MeetingLibrary::startFromName(base::nameText(folder), timeZone);
    }
    if (!start) {
        start = damage.created;
    }
    return start.value_or(lastActivity);
}

double secondsOf(const std::vector<Track>& tracks, const QDateTime& start, const QDateTime& lastActivity) {
    if (tracks.empty()) {
        return std::max(0.0, static_cast<double>(start.msecsTo(lastActivity)) / 1000);
    }
    return std::ranges::max_element(tracks, {}, &Track::seconds)->seconds;
}

std::expected<void, base::FileError> completeMeta(const fs::path& folder, const Damage& damage,
                                                  const std::vector<Track>& tracks, const base::WallClock& clock) {
    const QTimeZone timeZone = clock.timeZone();
    const QDateTime end = damage.lastWritten ? *damage.lastWritten : lastActivity(folder, clock);
    const QDateTime start = startOf(folder, damage, end, timeZone);
    MeetingMeta meta = damage.meta ? *damage.meta : rebuiltMeta(folder, start, timeZone);
    meta.end = MeetingMeta::timestamp(end, timeZone);
    meta.duration = base::Text::roundedToTenth(secondsOf(tracks, start, end));
    return MeetingArchive::writeMeta(meta, folder);
}

/// Converts what can be converted; gives the CAFs that have done their duty.
std::vector<fs::path> convertTracks(const Damage& damage, const ConvertToM4A& convert, Outcome& outcome) {
    std::vector<fs::path> done;
    for (const fs::path& caf : damage.cafs) {
        const QString name = base::pathText(caf.stem());
        const auto seconds = convert(caf, fs::path(caf).replace_extension(".m4a"));
        if (seconds) {
            outcome.tracks.push_back({name, *seconds});
            done.push_back(caf);
        } else if (!seconds.error().reason) {
            outcome.failures.append(name + u": " + seconds.error().text);
        }
    }
    return done;
}

/// The folder's path under the name of a meeting that got no answers.
fs::path renamed(const fs::path& folder) {
    const QString name = base::nameText(folder);
    if (!MeetingNaming::isUnfinishedFolder(name)) {
        return folder;
    }
    const fs::path target =
        MeetingNaming::uniqueURL(folder.parent_path(), name + u'_' + copy::Strings::untitled, base::nameTaken);
    return base::moveItem(folder, target) ? target : folder;
}

Outcome heal(const fs::path& folder, const Damage& damage, const ConvertToM4A& convert, const base::WallClock& clock) {
    Outcome outcome{.folder = folder};
    const auto done = convertTracks(damage, convert, outcome);
    if (!damage.metaIsComplete()) {
        const auto written = completeMeta(folder, damage, outcome.tracks, clock);
        outcome.metaWritten = written.has_value();
        if (!written) {
            outcome.failures.append(u"meta.json: " + written.error().text);
        }
    }
    outcome.folder = renamed(folder);
    // Last of all: it is by its CAFs that the next attempt knows the folder, and the end and the length of the
    // recording.
    for (const fs::path& caf : done) {
        std::error_code ignored;
        fs::remove(outcome.folder / caf.filename(), ignored);
    }
    return outcome;
}

} // namespace

MeetingLibrary::FolderSet pending(const fs::path& meetings, const IsLive& isLive) {
    MeetingLibrary::FolderSet folders;
    for (const std::string& name : subfolderNames(meetings)) {
        const fs::path folder = meetings / name;
        if (needsHealing(examine(folder)) && !isLive(folder)) {
            folders.insert(base::standardizedText(folder));
        }
    }
    return folders;
}

std::vector<Outcome> run(const fs::path& meetings, const IsLive& isLive, const ConvertToM4A& convert,
                         const base::WallClock& clock) {
    std::vector<std::string> names = subfolderNames(meetings);
    std::ranges::sort(names);
    std::vector<Outcome> outcomes;
    for (const std::string& name : names) {
        const fs::path folder = meetings / name;
        const Damage damage = examine(folder);
        // Asked again: a recording may have begun since pending().
        if (needsHealing(damage) && !isLive(folder)) {
            base::removeTemporaries(folder);
            outcomes.push_back(heal(folder, damage, convert, clock));
        }
    }
    return outcomes;
}

} // namespace store::Recovery
