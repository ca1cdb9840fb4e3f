// Writes mono sound as AAC into an m4a whose length is exact to the frame.
//   Units    frames at the rate that create() was given; samples from -1 to 1
//   Keeps    nothing before finish() has succeeded: a file that was let go earlier can't be read and is the caller's to
//            delete. After finish() the bytes are on the disk; the folder's entry is the caller's to flush
//   Threads  one at a time
//   Errors   the system's or the library's own text
#pragma once

#include "media/TrackFile.h"

#include <expected>
#include <filesystem>
#include <memory>
#include <span>

namespace media {

class M4aWriter {
public:
    [[nodiscard]] static std::expected<std::unique_ptr<M4aWriter>, Error>
    create(const std::filesystem::path& path, int sampleRate, int bitRate, const OpenTrackFile& open = createTrackFile);
    ~M4aWriter();

    [[nodiscard]] std::expected<void, Error> write(std::span<const float> samples);
    /// Ends the stream, writes the index, brings it all to the disk and closes the file.
    [[nodiscard]] std::expected<void, Error> finish();

private:
    struct State;
    explicit M4aWriter(std::unique_ptr<State> state);
    std::unique_ptr<State> m_state;
};

} // namespace media
