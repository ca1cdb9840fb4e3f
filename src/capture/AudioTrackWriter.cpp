#include "capture/AudioTrackWriter.h"

#include "capture/LevelMeter.h"
#include "capture/TrackFlusher.h"
#include "capture/TrackTimeline.h"
#include "media/CafFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <new>
#include <utility>

namespace capture {

namespace {

constexpr std::size_t silenceChunk = 4800;
/// What a converter may give beyond its share of the block: frames it had kept back.
constexpr double converterHeadroom = 64;

const std::array<std::int16_t, silenceChunk> silence{};

std::string queueLabel(const std::string& label) {
    return "com.orvane.tarvex." + label;
}

} // namespace

std::expected<std::shared_ptr<AudioTrackWriter>, media::Error>
AudioTrackWriter::create(std::filesystem::path url, const std::string& label, double startSeconds, Services services) {
    auto file = media::CafFile::create(url, sampleRate, services.openFile);
    if (!file) {
        return std::unexpected(file.error());
    }
    std::shared_ptr<AudioTrackWriter> writer(
        new AudioTrackWriter(std::move(url), label, startSeconds, std::move(services), std::move(*file)));
    writer->startFlushing(label);
    return writer;
}

AudioTrackWriter::AudioTrackWriter(std::filesystem::path url, const std::string& label, double startSeconds,
                                   Services services, std::shared_ptr<media::CafFile> file)
    : m_url(std::move(url))
    , m_startSeconds(startSeconds)
    , m_services(std::move(services))
    , m_queue(m_services.dispatch.makeSerialQueue(queueLabel(label), base::Priority::UserInitiated))
    , m_file(std::move(file)) {}

AudioTrackWriter::~AudioTrackWriter() = default;

void AudioTrackWriter::startFlushing(const std::string& label) {
    auto onError = [weak = weak_from_this()](const media::Error& error) {
        if (const auto writer = weak.lock()) {
            writer->m_queue->post([weak, error] {
                if (const auto living = weak.lock()) {
                    living->fail(error);
                }
            });
        }
    };
    m_flusher = std::make_unique<TrackFlusher>(
        m_services.dispatch.makeSerialQueue(queueLabel(label) + ".flush", base::Priority::Utility), m_file, m_url,
        std::move(onError));
}

void AudioTrackWriter::append(const AudioBlock& block) {
    if (!m_file) {
        return;
    }
    const auto buffer = pcmBuffer(block);
    if (!buffer) {
        return;
    }
    ++m_buffersReceived;
    const std::int64_t expected = place(block.stampSeconds);
    const auto samples = convert(*buffer);
    if (!samples) {
        return;
    }
    addLevel(*samples);
    if (expected + static_cast<std::int64_t>(samples->size()) < 1) {
        return; // all of it was before the start
    }
    if (writeSilence(TrackTimeline::silenceBefore(expected, m_framesWritten, sampleRate))) {
        write(*samples);
    }
}

std::int64_t AudioTrackWriter::place(double stampSeconds) {
    const double hostNow = m_services.clock.now();
    const double stamp = std::isfinite(stampSeconds) ? stampSeconds : hostNow;
    if (!m_offset) {
        m_offset = TrackTimeline::clockOffset(hostNow, stamp);
    }
    return TrackTimeline::expectedFrame(stamp, *m_offset, m_startSeconds, hostNow, sampleRate);
}

std::optional<std::span<const float>> AudioTrackWriter::convert(const PcmBuffer& buffer) {
    if (!m_converter || buffer.format != m_converterInput) {
        m_converter = m_services.makeConverter(buffer.format, sampleRate);
        m_converterInput = buffer.format;
    }
    if (!m_converter || !makeRoom(buffer)) {
        return std::nullopt;
    }
    const auto frames = m_converter->convert(buffer.data, m_converted);
    if (!frames) {
        m_lastError = frames.error().transform([](const media::Error& error) { return error.text; });
        return std::nullopt;
    }
    if (*frames == 0) {
        return std::nullopt; // a converter may keep a short block back
    }
    return std::span(m_converted).first(*frames);
}

bool AudioTrackWriter::makeRoom(const PcmBuffer& buffer) {
    const double capacity = std::ceil(sampleRate / buffer.format.sampleRate * buffer.frameLength) + converterHeadroom;
    if (!(capacity <= std::numeric_limits<std::int32_t>::max())) {
        return false;
    }
    try {
        m_converted.resize(static_cast<std::size_t>(capacity));
        m_samples.resize(m_converted.size());
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

void AudioTrackWriter::addLevel(std::span<const float> samples) {
    double sum = 0;
    for (const double sample : samples) {
        sum += sample * sample;
    }
    const std::lock_guard lock(m_levelLock);
    m_levelSum += sum;
    m_levelCount += static_cast<std::int64_t>(samples.size());
}

bool AudioTrackWriter::writeSilence(std::int64_t frames) {
    while (frames > 0) {
        const auto length = std::min(frames, static_cast<std::int64_t>(silenceChunk));
        if (!store(std::span(silence).first(static_cast<std::size_t>(length)))) {
            return false;
        }
        frames -= length;
    }
    return true;
}

void AudioTrackWriter::write(std::span<const float> samples) {
    const auto whole = std::span(m_samples).first(samples.size());
    media::toInt16(samples, whole);
    static_cast<void>(store(whole)); // the next block tries again
}

bool AudioTrackWriter::store(std::span<const std::int16_t> samples) {
    if (const auto written = m_file->write(samples); !written) {
        fail(written.error());
        return false;
    }
    m_framesWritten += static_cast<std::int64_t>(samples.size());
    m_flusher->wrote();
    return true;
}

void AudioTrackWriter::fail(const media::Error& error) {
    m_lastError = error.text;
}

TrackHealth AudioTrackWriter::health() {
    TrackHealth health;
    m_queue->sync([&] { health = {m_buffersReceived, m_lastError}; });
    return health;
}

std::optional<double> AudioTrackWriter::takeLevelDB() {
    const std::lock_guard lock(m_levelLock);
    if (m_levelCount < 1) {
        return std::nullopt;
    }
    return LevelMeter::dB(std::exchange(m_levelSum, 0), std::exchange(m_levelCount, 0));
}

double AudioTrackWriter::finish(double totalSeconds) {
    double seconds = 0;
    m_queue->sync([&] {
        if (m_file) {
            pad(totalSeconds);
            if (const auto closed = m_file->close(); !closed) {
                fail(closed.error());
            }
        }
        m_file.reset();
        m_converter.reset();
        seconds = static_cast<double>(m_framesWritten) / sampleRate;
    });
    return seconds;
}

void AudioTrackWriter::pad(double totalSeconds) {
    const double end = TrackTimeline::plausibleSeconds(totalSeconds, m_services.clock.now() - m_startSeconds);
    static_cast<void>(writeSilence(TrackTimeline::tailPadding(end, m_framesWritten, sampleRate)));
}

void AudioTrackWriter::discard() {
    m_queue->sync([&] { m_file.reset(); });
    std::error_code ignored;
    std::filesystem::remove(m_url, ignored);
}

std::optional<PcmBuffer> AudioTrackWriter::pcmBuffer(const AudioBlock& block) {
    const std::size_t frames = block.frames();
    if (frames == 0 || frames > std::numeric_limits<std::uint32_t>::max()) {
        return std::nullopt;
    }
    const auto frameBytes = bytesPerSample(block.format.sampleType) * static_cast<std::size_t>(block.format.channels);
    return PcmBuffer{block.format, block.data.first(frames * frameBytes), static_cast<std::uint32_t>(frames)};
}

} // namespace capture
