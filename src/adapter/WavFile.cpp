#include "adapter/WavFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <vector>

namespace adapter {
namespace {

constexpr std::uint32_t headerBytes = 44;
constexpr std::uint32_t bytesPerSample = 2;
constexpr auto rate = static_cast<std::uint32_t>(engineRate);

std::unexpected<std::string> systemError() {
    return std::unexpected(std::string(std::strerror(errno)));
}

void putNumber(std::vector<unsigned char>& header, std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        header.push_back(static_cast<unsigned char>(value >> (8 * i)));
    }
}

void putText(std::vector<unsigned char>& header, const char* text) {
    header.insert(header.end(), text, text + 4);
}

std::vector<unsigned char> headerFor(std::uint32_t dataBytes) {
    std::vector<unsigned char> header;
    putText(header, "RIFF");
    putNumber(header, headerBytes - 8 + dataBytes, 4);
    putText(header, "WAVE");
    putText(header, "fmt ");
    putNumber(header, 16, 4); // length of what follows
    putNumber(header, 1, 2);  // linear samples
    putNumber(header, 1, 2);  // one channel
    putNumber(header, rate, 4);
    putNumber(header, rate * bytesPerSample, 4);
    putNumber(header, bytesPerSample, 2);
    putNumber(header, bytesPerSample * 8, 2);
    putText(header, "data");
    putNumber(header, dataBytes, 4);
    return header;
}

bool writeAll(int file, std::span<const unsigned char> bytes) {
    while (!bytes.empty()) {
        const auto written = ::write(file, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

std::int16_t toSample(float value) {
    const float full = std::isfinite(value) ? std::clamp(value, -1.0F, 1.0F) : 0.0F;
    return static_cast<std::int16_t>(std::lround(full * 32767.0F));
}

} // namespace

std::expected<WavFile, std::string> WavFile::create(const std::filesystem::path& path) {
    base::FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file || !writeAll(file.get(), headerFor(0))) {
        return systemError();
    }
    return WavFile(std::move(file));
}

std::expected<void, std::string> WavFile::write(std::span<const float> samples) {
    std::vector<unsigned char> bytes;
    bytes.reserve(samples.size() * bytesPerSample);
    for (const float sample : samples) {
        putNumber(bytes, static_cast<std::uint16_t>(toSample(sample)), bytesPerSample);
    }
    if (!writeAll(m_file.get(), bytes)) {
        return systemError();
    }
    m_bytes += static_cast<std::uint32_t>(bytes.size());
    return {};
}

std::expected<void, std::string> WavFile::finish() {
    if (::lseek(m_file.get(), 0, SEEK_SET) != 0 || !writeAll(m_file.get(), headerFor(m_bytes))) {
        return systemError();
    }
    m_file.reset();
    return {};
}

} // namespace adapter
