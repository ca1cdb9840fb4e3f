#include "media/TrackFile.h"

#include "base/Files.h"
#include "base/Handle.h"

#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace media {

namespace {

std::unexpected<Error> systemError(int code) {
    return std::unexpected(Error{base::fileError(code).text});
}

/// Writes go straight to the system: what has been handed over outlives this process.
class SystemFile final : public TrackFile {
public:
    explicit SystemFile(base::FileDescriptor file) : m_file(std::move(file)) {}

    std::expected<void, Error> writeAt(std::int64_t offset, std::span<const std::byte> bytes) override {
        while (!bytes.empty()) {
            const auto written = ::pwrite(m_file.get(), bytes.data(), bytes.size(), offset);
            if (written < 0 && errno == EINTR) {
                continue;
            }
            if (written <= 0) {
                return systemError(written < 0 ? errno : EIO);
            }
            bytes = bytes.subspan(static_cast<std::size_t>(written));
            offset += written;
        }
        return {};
    }

    std::expected<void, Error> truncate(std::int64_t length) override {
        return result(::ftruncate(m_file.get(), length));
    }

    std::expected<void, Error> flush() override {
        const std::lock_guard lock(m_closing);
        return m_file ? result(::fdatasync(m_file.get())) : std::expected<void, Error>{};
    }

    std::expected<void, Error> close() override {
        const std::lock_guard lock(m_closing);
        return result(::close(m_file.release()));
    }

private:
    static std::expected<void, Error> result(int status) {
        return status == 0 ? std::expected<void, Error>{} : systemError(errno);
    }

    base::FileDescriptor m_file;
    std::mutex m_closing; // a descriptor that is being flushed stays open
};

} // namespace

std::expected<std::unique_ptr<TrackFile>, Error> createTrackFile(const std::filesystem::path& path) {
    constexpr int flags = O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    base::FileDescriptor file(::open(path.c_str(), flags, S_IRUSR | S_IWUSR));
    if (!file) {
        return systemError(errno);
    }
    struct stat status{};
    if (::fstat(file.get(), &status) != 0) {
        return systemError(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return systemError(EINVAL);
    }
    return std::make_unique<SystemFile>(std::move(file));
}

} // namespace media
