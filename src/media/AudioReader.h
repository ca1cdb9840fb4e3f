// Reads a track, whatever its container, rate and channels, as mono floats at one rate.
//   Formats  CAF and the MP4 family, with PCM, AAC or ALAC in them. A CAF whose length was never filled in reads to its
//            last whole frame
//   Units    frames at the rate that open() was given; seconds
//   Length   exact: the encoder's delay and what it added to the last packet are cut off, and changing the rate neither
//            adds nor loses anything but the rounding to a whole frame
//   Cost     streaming: memory does not grow with the length of the file
//   Threads  one at a time
//   Errors   the library's own text. A damaged or truncated file gives what comes before the damage, then an error;
//            a CAF that ends early just ends, since that is what a killed recorder leaves
#pragma once

#include "media/Error.h"

#include <cstddef>
#include <expected>
#include <filesystem>
#include <memory>
#include <span>

namespace media {

class AudioReader {
public:
    /// `sampleRate`: 1000 to 1000000 frames per second. Never blocks on a pipe or a device, which are errors.
    [[nodiscard]] static std::expected<std::unique_ptr<AudioReader>, Error> open(const std::filesystem::path& path,
                                                                                 double sampleRate);
    ~AudioReader();

    /// The length that the file says it has, 0 when it says none.
    [[nodiscard]] double seconds() const;
    /// The next frames: as many as `output` has place for, fewer only before the end, 0 at the end.
    [[nodiscard]] std::expected<std::size_t, Error> read(std::span<float> output);
    /// What has been read so far since the start or the last seek, by the file's own frames.
    [[nodiscard]] double secondsRead() const;
    /// The next read begins with the frame at `seconds`, to the nearest of the file's own frames; below 0 counts as 0.
    /// Beyond the end there is nothing to read.
    [[nodiscard]] std::expected<void, Error> seek(double seconds);

private:
    struct State;
    explicit AudioReader(std::unique_ptr<State> state);
    std::unique_ptr<State> m_state;
};

/// AudioReader::seconds of the file at `path`.
[[nodiscard]] std::expected<double, Error> lengthOf(const std::filesystem::path& path);

} // namespace media
