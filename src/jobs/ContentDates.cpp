#include "jobs/ContentDates.h"

#include "jobs/AIPipeline.h"

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

namespace jobs {

namespace {

std::optional<ContentDates::Nanoseconds> dateOf(const std::filesystem::path& file) {
    struct statx status{};
    if (::statx(AT_FDCWD, file.c_str(), 0, STATX_MTIME, &status) != 0) {
        return std::nullopt;
    }
    return status.stx_mtime.tv_sec * 1'000'000'000 + status.stx_mtime.tv_nsec;
}

} // namespace

ContentDates ContentDates::of(const store::MeetingRecord& record) {
    return {dateOf(record.notesURL()), dateOf(AIPipeline::aiOutputURL(record)), dateOf(record.transcriptURL())};
}

} // namespace jobs
