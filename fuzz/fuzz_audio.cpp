// A track from anywhere, CAF or m4a, read at another rate and from the middle: sound or an error, and never more sound
// than the bytes can hold.
#include "Require.h"
#include "media/AudioReader.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

/// A file that lives in memory alone.
class MemoryFile {
public:
    MemoryFile(const std::uint8_t* data, std::size_t size) : m_file(::memfd_create("track", MFD_CLOEXEC)) {
        require(m_file >= 0 && ::write(m_file, data, size) == static_cast<ssize_t>(size));
    }

    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    ~MemoryFile() { ::close(m_file); }

    [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(m_file); }

private:
    int m_file;
};

/// Frames until the end or an error.
std::size_t readToTheEnd(media::AudioReader& reader, std::size_t most) {
    std::array<float, 4096> chunk{};
    std::size_t frames = 0;
    while (const auto got = reader.read(chunk)) {
        require(*got <= chunk.size());
        frames += *got;
        if (*got == 0 || frames > most) {
            break;
        }
    }
    return frames;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // One byte is two frames at most in any codec that is read, but for AAC, whose emptiest packet of 1024 frames (2048
    // where its upper band is made up) has four bytes, and for the change from the lowest rate.
    constexpr std::size_t mostPerByte = 2048 * 16;
    const MemoryFile file(data, size);
    const auto reader = media::AudioReader::open(file.path(), 16000.0);
    if (!reader) {
        require(!reader.error().text.isEmpty());
        return 0;
    }
    const double seconds = (*reader)->seconds();
    require(std::isfinite(seconds) && seconds >= 0);
    require(readToTheEnd(**reader, (size + 1) * mostPerByte) <= (size + 1) * mostPerByte);
    if ((*reader)->seek(seconds / 2)) {
        readToTheEnd(**reader, (size + 1) * mostPerByte);
    }
    return 0;
}
