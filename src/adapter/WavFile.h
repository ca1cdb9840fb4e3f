// Writes mono 16-bit sound at 16000 Hz, which every engine reads.
//   Errors   the system's text
#pragma once

#include "base/Handle.h"

#include <cstdint>
#include <expected>
#include <filesystem>
#include <span>
#include <string>

namespace adapter {

inline constexpr double engineRate = 16000.0;

class WavFile {
public:
    [[nodiscard]] static std::expected<WavFile, std::string> create(const std::filesystem::path& path);
    [[nodiscard]] std::expected<void, std::string> write(std::span<const float> samples);
    /// The header tells the length only now.
    [[nodiscard]] std::expected<void, std::string> finish();

private:
    explicit WavFile(base::FileDescriptor file) : m_file(std::move(file)) {}

    base::FileDescriptor m_file;
    std::uint32_t m_bytes = 0;
};

} // namespace adapter
