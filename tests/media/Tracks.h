// Files and sounds for the tests of this folder.
#pragma once

#include "media/AudioReader.h"
#include "media/CafFile.h"
#include "media/M4aWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <string>
#include <vector>

namespace media {

inline std::vector<char> bytesOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeBytes(const std::filesystem::path& path, const std::vector<char>& bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// A quiet tone, so that codecs have something to do.
inline std::vector<float> tone(std::size_t frames, double sampleRate = 48000.0) {
    std::vector<float> samples(frames);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const double angle = 2 * std::numbers::pi * 440.0 * static_cast<double>(frame) / sampleRate;
        samples[frame] = static_cast<float>(0.25 * std::sin(angle));
    }
    return samples;
}

inline std::vector<std::int16_t> wholeTone(std::size_t frames) {
    std::vector<std::int16_t> whole;
    for (const float sample : tone(frames)) {
        whole.push_back(static_cast<std::int16_t>(std::lround(sample * 32768)));
    }
    return whole;
}

/// Silence with single loud samples.
inline std::vector<float> clicksAt(std::size_t frames, const std::vector<std::size_t>& places) {
    std::vector<float> samples(frames, 0.0F);
    for (const std::size_t place : places) {
        samples[place] = 0.9F;
    }
    return samples;
}

/// The loudest place within `reach` of `place`.
inline std::size_t peakNear(const std::vector<float>& samples, std::size_t place, std::size_t reach = 400) {
    std::size_t best = place < reach ? 0 : place - reach;
    for (std::size_t at = best; at < std::min(place + reach, samples.size()); ++at) {
        if (std::abs(samples[at]) > std::abs(samples[best])) {
            best = at;
        }
    }
    return best;
}

inline void writeM4a(const std::filesystem::path& path, const std::vector<float>& samples) {
    const auto writer = M4aWriter::create(path, 48000, 96000);
    ASSERT_TRUE(writer) << writer.error().text.toStdString();
    ASSERT_TRUE((*writer)->write(samples));
    ASSERT_TRUE((*writer)->finish());
}

/// All that is left to read; `failed` gets the error that ended it, if any did.
inline std::vector<float> readAll(AudioReader& reader, std::string* failed = nullptr) {
    std::vector<float> all;
    std::vector<float> chunk(4801); // a length that nothing else has
    for (;;) {
        const auto got = reader.read(chunk);
        if (!got) {
            if (failed == nullptr) {
                ADD_FAILURE() << got.error().text.toStdString();
            } else {
                *failed = got.error().text.toStdString();
            }
            return all;
        }
        if (*got == 0) {
            return all;
        }
        all.insert(all.end(), chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(*got));
    }
}

inline std::vector<float> readAll(const std::filesystem::path& path, double sampleRate = 48000.0) {
    const auto reader = AudioReader::open(path, sampleRate);
    if (!reader) {
        ADD_FAILURE() << reader.error().text.toStdString();
        return {};
    }
    return readAll(**reader);
}

/// A CAF of any PCM, byte for byte: flags 1 float, 2 little endian.
struct CafShape {
    double sampleRate = 48000.0;
    std::uint32_t flags = 2;
    std::uint32_t channels = 1;
    std::uint32_t bits = 16;
    std::int64_t dataLength = -1; ///< as the header says it; counts the four bytes before the samples
};

template<typename Sample>
std::vector<char> cafBytes(const CafShape& shape, const std::vector<Sample>& samples) {
    std::vector<char> bytes;
    const auto text = [&](const std::string& name) { bytes.insert(bytes.end(), name.begin(), name.end()); };
    const auto number = [&](std::uint64_t value, int length) {
        for (int index = length - 1; index >= 0; --index) {
            bytes.push_back(static_cast<char>(value >> (8 * index)));
        }
    };
    std::uint64_t rate = 0;
    std::memcpy(&rate, &shape.sampleRate, sizeof(rate));
    text("caff");
    number(1, 2);
    number(0, 2);
    text("desc");
    number(32, 8);
    number(rate, 8);
    text("lpcm");
    number(shape.flags, 4);
    number(shape.channels * shape.bits / 8, 4);
    number(1, 4);
    number(shape.channels, 4);
    number(shape.bits, 4);
    text("data");
    number(static_cast<std::uint64_t>(shape.dataLength), 8);
    number(0, 4);
    const auto* first = reinterpret_cast<const char*>(samples.data());
    bytes.insert(bytes.end(), first, first + samples.size() * sizeof(Sample));
    return bytes;
}

} // namespace media
