#include "store/Retention.h"

#include "store/FileDates.h"
#include "store/MeetingLibrary.h"
#include "store/RecordingLock.h"
#include "store/Subfolders.h"

#include <algorithm>
#include <system_error>

namespace store::Retention {

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t millisecondsPerDay = 86'400'000;
constexpr std::int64_t limit = audioDays * millisecondsPerDay;

bool isDue(const fs::path& item, const std::optional<QDateTime>& end, const QDateTime& now) {
    std::error_code unknown;
    if (!fs::exists(item, unknown)) {
        return false;
    }
    const auto reference = referenceDate(end, end ? std::nullopt : FileDates::modified(item));
    return reference && isExpired(*reference, now);
}

} // namespace

bool isExpired(const QDateTime& modified, const QDateTime& now) {
    return modified.msecsTo(now) > limit;
}

std::optional<QDateTime> referenceDate(const std::optional<QDateTime>& meetingEnd,
                                       const std::optional<QDateTime>& fileModified) {
    return meetingEnd ? meetingEnd : fileModified;
}

std::int64_t daysLeft(const QDateTime& end, const QDateTime& now) {
    return std::max<std::int64_t>(0, (now.msecsTo(end) + limit) / millisecondsPerDay);
}

std::vector<fs::path> prune(const fs::path& meetings, const QDateTime& now,
                            const std::function<bool(const fs::path&)>& isLive) {
    std::vector<fs::path> deleted;
    for (const std::string& name : subfolderNames(meetings)) {
        const fs::path folder = meetings / name;
        if (isLive(folder)) {
            continue;
        }
        const auto end = MeetingLibrary::endDate(folder);
        for (const char* expiring : {audioNames[0], audioNames[1], shotsName}) {
            const fs::path item = folder / expiring;
            if (!isDue(item, end, now)) {
                continue;
            }
            std::error_code error;
            fs::remove_all(item, error);
            if (!error) {
                deleted.push_back(item);
            }
        }
    }
    return deleted;
}

std::vector<fs::path> prune(const fs::path& meetings, const QDateTime& now) {
    return prune(meetings, now, [](const fs::path& folder) { return RecordingLock::isLive(folder); });
}

} // namespace store::Retention
