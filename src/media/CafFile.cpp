#include "media/CafFile.h"

#include <array>
#include <bit>
#include <concepts>
#include <string_view>
#include <vector>

namespace media {

namespace {

static_assert(std::endian::native == std::endian::little, "samples are written as they lie in memory");

constexpr std::int16_t bytesPerFrame = 2;
constexpr std::int64_t openLength = -1; // reaches to the end of the file
constexpr std::int64_t lengthOffset = 56;
constexpr std::int64_t editCountBytes = 4; // counts as part of the chunk

class Header {
public:
    void text(std::string_view name) {
        for (const char letter : name) {
            m_bytes.push_back(static_cast<std::byte>(letter));
        }
    }

    template<std::unsigned_integral Number>
    void number(Number value) {
        for (int shift = 8 * (static_cast<int>(sizeof(Number)) - 1); shift >= 0; shift -= 8) {
            m_bytes.push_back(static_cast<std::byte>(value >> shift & 0xFF));
        }
    }

    [[nodiscard]] std::span<const std::byte> bytes() const { return m_bytes; }

private:
    std::vector<std::byte> m_bytes;
};

Header headerOf(double sampleRate) {
    constexpr std::uint64_t descriptionBytes = 32;
    constexpr std::uint32_t littleEndianFlag = 2;
    Header header;
    header.text("caff");
    header.number(std::uint16_t{1}); // version
    header.number(std::uint16_t{0}); // flags
    header.text("desc");
    header.number(descriptionBytes);
    header.number(std::bit_cast<std::uint64_t>(sampleRate));
    header.text("lpcm");
    header.number(littleEndianFlag);
    header.number(std::uint32_t{bytesPerFrame}); // bytes per packet
    header.number(std::uint32_t{1});             // frames per packet
    header.number(std::uint32_t{1});             // channels
    header.number(std::uint32_t{8 * bytesPerFrame});
    header.text("data");
    header.number(static_cast<std::uint64_t>(openLength));
    header.number(std::uint32_t{0}); // edit count
    return header;
}

} // namespace

std::expected<std::shared_ptr<CafFile>, Error> CafFile::create(const std::filesystem::path& path, double sampleRate,
                                                               const OpenTrackFile& open) {
    auto file = open(path);
    if (!file) {
        return std::unexpected(file.error());
    }
    if (const auto written = (*file)->writeAt(0, headerOf(sampleRate).bytes()); !written) {
        return std::unexpected(written.error());
    }
    return std::make_shared<CafFile>(std::move(*file));
}

CafFile::CafFile(std::unique_ptr<TrackFile> file) : m_file(std::move(file)) {}

std::expected<void, Error> CafFile::write(std::span<const std::int16_t> samples) {
    const std::int64_t end = headerBytes + m_frames * bytesPerFrame;
    const auto written = m_file->writeAt(end, std::as_bytes(samples));
    if (!written) {
        // Where even this fails, the next write goes to the same place and covers what is left of this one.
        static_cast<void>(m_file->truncate(end));
        return written;
    }
    m_frames += static_cast<std::int64_t>(samples.size());
    return {};
}

std::expected<void, Error> CafFile::close() {
    Header length;
    length.number(static_cast<std::uint64_t>(editCountBytes + m_frames * bytesPerFrame));
    const auto patched = m_file->writeAt(lengthOffset, length.bytes());
    const auto flushed = m_file->flush();
    const auto closed = m_file->close();
    return !patched ? patched : !flushed ? flushed : closed;
}

} // namespace media
