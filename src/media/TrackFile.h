// The bytes of a file that is being written, as narrow as its writer needs them, so that a test can let a disk fail.
//   Units    bytes
//   Threads  flush from any thread beside the others; everything else from one thread at a time
//   Errors   the system's own text
#pragma once

#include "media/Error.h"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>

namespace media {

class TrackFile {
public:
    TrackFile() = default;
    TrackFile(const TrackFile&) = delete;
    TrackFile& operator=(const TrackFile&) = delete;
    virtual ~TrackFile() = default;

    /// Hands all of `bytes` to the system. After a failure any part of them may stand there.
    [[nodiscard]] virtual std::expected<void, Error> writeAt(std::int64_t offset, std::span<const std::byte> bytes) = 0;
    [[nodiscard]] virtual std::expected<void, Error> truncate(std::int64_t length) = 0;
    /// Waits until what was written is on the disk.
    [[nodiscard]] virtual std::expected<void, Error> flush() = 0;
    /// Waits for a flush that runs. Nothing but the destructor may follow.
    [[nodiscard]] virtual std::expected<void, Error> close() = 0;
};

using OpenTrackFile = std::function<std::expected<std::unique_ptr<TrackFile>, Error>(const std::filesystem::path&)>;

/// A new, empty file of mode 0600; what stood at `path` is emptied, a link there is an error.
[[nodiscard]] std::expected<std::unique_ptr<TrackFile>, Error> createTrackFile(const std::filesystem::path& path);

} // namespace media
