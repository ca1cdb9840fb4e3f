// A CAF with 16-bit mono PCM that is being written: a header of 68 bytes, then the samples as they come.
//   Units    frames
//   Shape    little endian. While the file is open its header leaves the length open ("to the end of the file"), so
//            that a file whose writer was killed reads to its last frame; closing fills the length in
//   Keeps    every frame that write() took outlives this process. After a failed write the file ends with the last
//            whole block before it
//   Threads  flush from any thread beside the others; everything else from one thread at a time
//   Source   the published container format: big-endian chunk headers, "desc" before "data"
#pragma once

#include "media/TrackFile.h"

#include <cstdint>
#include <expected>
#include <filesystem>
#include <memory>
#include <span>

namespace media {

class CafFile {
public:
    static constexpr std::int64_t headerBytes = 68;

    /// The file stands there, with its header, from this moment.
    [[nodiscard]] static std::expected<std::shared_ptr<CafFile>, Error>
    create(const std::filesystem::path& path, double sampleRate, const OpenTrackFile& open = createTrackFile);

    explicit CafFile(std::unique_ptr<TrackFile> file);

    /// All of `samples`, or none of them.
    [[nodiscard]] std::expected<void, Error> write(std::span<const std::int16_t> samples);

    [[nodiscard]] std::int64_t frames() const noexcept { return m_frames; }

    [[nodiscard]] std::expected<void, Error> flush() { return m_file->flush(); }

    /// Fills the length in, flushes, closes. The file is closed after a failure too.
    [[nodiscard]] std::expected<void, Error> close();

private:
    std::unique_ptr<TrackFile> m_file;
    std::int64_t m_frames = 0;
};

} // namespace media
