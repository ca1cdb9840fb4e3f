#include "media/SampleConverter.h"

#include "media/Ffmpeg_p.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace media {

namespace {

constexpr double lowestRate = 1000.0;
constexpr double highestRate = 1000000.0;

AVSampleFormat nameOf(SampleType type) {
    switch (type) {
    case SampleType::Int16:
        return AV_SAMPLE_FMT_S16;
    case SampleType::Int32:
        return AV_SAMPLE_FMT_S32;
    case SampleType::Float32:
        return AV_SAMPLE_FMT_FLT;
    }
    return AV_SAMPLE_FMT_NONE;
}

bool isUsableRate(double rate) {
    return rate >= lowestRate && rate <= highestRate; // false for what is no number
}

class Downmix final : public SampleConverter {
public:
    Downmix(ffmpeg::Resampler resampler, std::size_t frameBytes)
        : m_resampler(std::move(resampler))
        , m_frameBytes(frameBytes) {}

    std::expected<std::size_t, std::optional<Error>> convert(std::span<const std::byte> input,
                                                             std::span<float> output) override {
        constexpr std::size_t mostFrames = std::numeric_limits<int>::max();
        const std::size_t frames = input.size() / m_frameBytes;
        if (frames > mostFrames) {
            return std::unexpected(ffmpeg::error(AVERROR(ENOMEM)));
        }
        const auto* from = reinterpret_cast<const std::uint8_t*>(input.data());
        auto* to = reinterpret_cast<std::uint8_t*>(output.data());
        const int room = static_cast<int>(std::min(output.size(), mostFrames));
        const int made = swr_convert(m_resampler.get(), &to, room, &from, static_cast<int>(frames));
        if (made < 0) {
            return std::unexpected(ffmpeg::error(made));
        }
        return static_cast<std::size_t>(made);
    }

private:
    ffmpeg::Resampler m_resampler;
    std::size_t m_frameBytes;
};

} // namespace

std::unique_ptr<SampleConverter> makeConverter(const PcmFormat& from, double outputRate) {
    const AVSampleFormat sampleFormat = nameOf(from.sampleType);
    if (sampleFormat == AV_SAMPLE_FMT_NONE || !isUsableRate(from.sampleRate) || !isUsableRate(outputRate)) {
        return nullptr;
    }
    auto resampler = ffmpeg::makeDownmix(sampleFormat, from.channels, static_cast<int>(std::lround(from.sampleRate)),
                                         static_cast<int>(std::lround(outputRate)));
    if (!resampler) {
        return nullptr;
    }
    const auto frameBytes = bytesPerSample(from.sampleType) * static_cast<std::size_t>(from.channels);
    return std::make_unique<Downmix>(std::move(resampler), frameBytes);
}

void toInt16(std::span<const float> input, std::span<std::int16_t> output) noexcept {
    constexpr float scale = 32768.0F;
    constexpr float lowest = -scale;
    constexpr float highest = scale - 1;
    const std::size_t count = std::min(input.size(), output.size());
    for (std::size_t index = 0; index < count; ++index) {
        const float sample = input[index] == input[index] ? input[index] : 0.0F;
        output[index] = static_cast<std::int16_t>(std::lrintf(std::clamp(sample * scale, lowest, highest)));
    }
}

} // namespace media
