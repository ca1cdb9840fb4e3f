#include "store/FileDates.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace store::FileDates {

namespace {

std::optional<QDateTime> date(const std::filesystem::path& path, unsigned int mask,
                              struct statx_timestamp statx::* field) {
    struct statx status{};
    if (::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, mask, &status) != 0 || (status.stx_mask & mask) == 0) {
        return std::nullopt;
    }
    const auto& stamp = status.*field;
    return QDateTime::fromMSecsSinceEpoch(stamp.tv_sec * 1000 + stamp.tv_nsec / 1'000'000, Qt::UTC);
}

} // namespace

std::optional<QDateTime> modified(const std::filesystem::path& path) {
    return date(path, STATX_MTIME, &statx::stx_mtime);
}

std::optional<QDateTime> created(const std::filesystem::path& path) {
    return date(path, STATX_BTIME, &statx::stx_btime);
}

} // namespace store::FileDates
