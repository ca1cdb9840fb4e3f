// One audio track of a recording: lays the blocks of a source on the time line that both tracks share and writes them
// into a CAF, so that frame n is the moment `startSeconds` + n / 48000 on the host clock.
//   Units    seconds on the host clock, frames at 48000 a second, dB relative to full scale
//   Threads  create, health, finish and discard: any thread but queue(), on which they wait; append: queue() only;
//            takeLevelDB: any, never waits for a file
//   Keeps    every frame whose append() has returned outlives this process; a power cut loses about a second at most
//   Errors   none reaches the source: a failure to convert or to write stands in health() for the rest of the
//   recording,
//            and the next block tries again
#pragma once

#include "base/Dispatch.h"
#include "base/HostClock.h"
#include "capture/CaptureSink.h"
#include "capture/PcmBuffer.h"
#include "capture/TrackHealth.h"
#include "media/SampleConverter.h"
#include "media/TrackFile.h"
#include "store/ConvertError.h"

#include <cstdint>
#include <expected>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace media {
class CafFile;
}

namespace capture {

class TrackFlusher;

using store::ConvertFailure;

class AudioTrackWriter final : public CaptureSink, public std::enable_shared_from_this<AudioTrackWriter> {
public:
    /// Of the time line, of the CAF and of the m4a. Frames per second.
    static constexpr double sampleRate = 48000.0;
    /// Of the m4a. Bits per second.
    static constexpr int bitRate = 96000;
    static constexpr int cafBitDepth = 16;

    /// What a writer takes from around it. The files and converters are the real ones unless a test lets them fail.
    struct Services {
        base::Dispatch& dispatch;     ///< must outlive the writer
        const base::HostClock& clock; ///< must outlive the writer
        media::OpenTrackFile openFile = media::createTrackFile;
        media::MakeConverter makeConverter = media::makeConverter;
    };

    /// `label` names the queue: "mic" gives "com.orvane.tarvex.mic". Both tracks of a recording get the same
    /// `startSeconds`. The CAF exists from this moment.
    [[nodiscard]] static std::expected<std::shared_ptr<AudioTrackWriter>, media::Error>
    create(std::filesystem::path url, const std::string& label, double startSeconds, Services services);
    ~AudioTrackWriter() override; ///< a writer that was neither finished nor discarded leaves a CAF that can be healed

    [[nodiscard]] const std::filesystem::path& url() const noexcept { return m_url; }

    [[nodiscard]] base::Scheduler& queue() override { return *m_queue; }

    void append(const AudioBlock& block) override;

    /// Of this moment, after every block that was delivered before.
    [[nodiscard]] TrackHealth health();
    /// The mean level since the last call; nullopt if no sample came.
    std::optional<double> takeLevelDB();
    /// Fills the track with silence up to `totalSeconds`, closes it and gives its length in seconds, which is more when
    /// the track ran over. Again: the same length.
    double finish(double totalSeconds);
    /// Closes and deletes the CAF.
    void discard();

    /// What of a block can be used; nullopt when there is not one frame in it, or more than 32 bits can count.
    [[nodiscard]] static std::optional<PcmBuffer> pcmBuffer(const AudioBlock& block);

    /// "mic.m4a" for "mic.caf", in the same folder.
    [[nodiscard]] static std::filesystem::path m4aURL(std::filesystem::path caf);
    /// Makes the m4a of a finished CAF, or of one whose writer was killed, and gives the length of its sound in
    /// seconds. After success the m4a is on the disk under its name, so that the CAF may go. The CAF is never touched.
    /// An older m4a is deleted first, except when the CAF holds no sound; a failure leaves no part of a new one. Any
    /// thread, also several at once for different tracks.
    [[nodiscard]] static std::expected<double, ConvertFailure> convertToM4A(const std::filesystem::path& caf,
                                                                            const std::filesystem::path& m4a);

private:
    AudioTrackWriter(std::filesystem::path url, const std::string& label, double startSeconds, Services services,
                     std::shared_ptr<media::CafFile> file);
    void startFlushing(const std::string& label);

    /// The frame where a block with this stamp begins.
    [[nodiscard]] std::int64_t place(double stampSeconds);
    /// The block as mono floats at `sampleRate`; nullopt when it gives none.
    [[nodiscard]] std::optional<std::span<const float>> convert(const PcmBuffer& buffer);
    [[nodiscard]] bool makeRoom(const PcmBuffer& buffer);
    void addLevel(std::span<const float> samples);
    [[nodiscard]] bool writeSilence(std::int64_t frames);
    void write(std::span<const float> samples);
    [[nodiscard]] bool store(std::span<const std::int16_t> samples);
    void pad(double totalSeconds);
    void fail(const media::Error& error);

    const std::filesystem::path m_url;
    const double m_startSeconds;
    Services m_services;
    std::shared_ptr<base::Scheduler> m_queue;
    std::unique_ptr<TrackFlusher> m_flusher;

    // Of the queue.
    std::shared_ptr<media::CafFile> m_file; // empty after finish or discard
    std::unique_ptr<media::SampleConverter> m_converter;
    AudioFormat m_converterInput;
    std::optional<double> m_offset; // set once, by the first usable block
    std::int64_t m_framesWritten = 0;
    std::int64_t m_buffersReceived = 0;
    std::optional<QString> m_lastError; // never cleared by a later success
    std::vector<float> m_converted;
    std::vector<std::int16_t> m_samples;

    std::mutex m_levelLock;
    double m_levelSum = 0;         // guarded by m_levelLock
    std::int64_t m_levelCount = 0; // guarded by m_levelLock
};

} // namespace capture
