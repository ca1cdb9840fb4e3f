#include "capture/LevelOnlySink.h"

#include "capture/AudioTrackWriter.h"
#include "capture/LevelMeter.h"

#include <cstring>
#include <utility>

namespace capture {

namespace {

/// The bytes may lie anywhere, so each sample is copied out.
template<typename Sample>
double sumOf(std::span<const std::byte> data, double scale) {
    double sum = 0;
    for (std::size_t at = 0; at + sizeof(Sample) <= data.size(); at += sizeof(Sample)) {
        Sample sample;
        std::memcpy(&sample, data.data() + at, sizeof(Sample));
        const double value = static_cast<double>(sample) * scale;
        sum += value * value;
    }
    return sum;
}

std::optional<double> sumOf(SampleType type, std::span<const std::byte> data) {
    switch (type) {
    case SampleType::Float32:
        return sumOf<float>(data, 1.0);
    case SampleType::Int16:
        return sumOf<std::int16_t>(data, 1.0 / 32768);
    case SampleType::Int32:
        return sumOf<std::int32_t>(data, 1.0 / 2147483648.0);
    }
    return std::nullopt;
}

} // namespace

LevelOnlySink::LevelOnlySink(const std::string& label, base::Dispatch& dispatch)
    : m_queue(dispatch.makeSerialQueue("com.orvane.tarvex.level." + label, base::Priority::UserInitiated)) {}

void LevelOnlySink::append(const AudioBlock& block) {
    if (const auto buffer = AudioTrackWriter::pcmBuffer(block)) {
        add(*buffer);
    }
}

void LevelOnlySink::add(const PcmBuffer& buffer) {
    const Squares squares = sumSquares(buffer);
    const std::lock_guard lock(m_lock);
    m_sum += squares.sum;
    m_count += squares.count;
    ++m_buffers;
}

std::optional<double> LevelOnlySink::takeLevelDB() {
    const std::lock_guard lock(m_lock);
    if (m_count < 1) {
        return std::nullopt;
    }
    return LevelMeter::dB(std::exchange(m_sum, 0), std::exchange(m_count, 0));
}

std::int64_t LevelOnlySink::buffers() const {
    const std::lock_guard lock(m_lock);
    return m_buffers;
}

LevelOnlySink::Squares LevelOnlySink::sumSquares(const PcmBuffer& buffer) noexcept {
    if (buffer.frameLength == 0 || buffer.format.channels < 1) {
        return {};
    }
    const auto sum = sumOf(buffer.format.sampleType, buffer.data);
    return sum ? Squares{*sum, std::int64_t{buffer.frameLength} * buffer.format.channels} : Squares{};
}

} // namespace capture
