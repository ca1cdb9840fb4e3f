#include "entry/CaptureRoles.h"

#include "capture/AudioTrackWriter.h"
#include "capture/MicCapture.h"
#include "capture/ScreenShooter.h"
#include "capture/SystemAudioCapture.h"
#include "capture/TrackGate.h"

#include <utility>

namespace entry {

namespace fs = std::filesystem;

namespace {

class WriterTrack final : public Track {
public:
    WriterTrack(std::shared_ptr<capture::AudioTrackWriter> writer, double startHost)
        : m_writer(std::move(writer))
        , m_gate(std::make_shared<capture::TrackGate>(m_writer, startHost)) {}

    [[nodiscard]] const fs::path& url() const override { return m_writer->url(); }

    void discard() override { m_writer->discard(); }

    void endAt(double hostSeconds) override { m_gate->close(hostSeconds); }

    void awaitEnd() override { m_gate->waitForEnd(longestOnItsWay); }

    [[nodiscard]] double finish(double totalSeconds) override { return m_writer->finish(totalSeconds); }

    [[nodiscard]] capture::TrackHealth health() override { return m_writer->health(); }

    [[nodiscard]] std::optional<double> takeLevelDB() override { return m_writer->takeLevelDB(); }

    [[nodiscard]] std::shared_ptr<capture::CaptureSink> sink() const override { return m_gate; }

private:
    /// Sources hand over a tenth of a second at a time; one that is late has failed. Seconds.
    static constexpr double longestOnItsWay = 0.3;

    std::shared_ptr<capture::AudioTrackWriter> m_writer;
    std::shared_ptr<capture::TrackGate> m_gate;
};

class CaptureMicrophone final : public Microphone {
public:
    explicit CaptureMicrophone(std::shared_ptr<capture::MicCapture> capture) : m_capture(std::move(capture)) {}

    [[nodiscard]] std::optional<capture::CaptureError> start() override { return m_capture->start(); }

    void stop() override { m_capture->stop(); }

    void restartNow() override { m_capture->restartNow(); }

    [[nodiscard]] int restartCount() override { return m_capture->restartCount(); }

    void setOnError(OnError onError) override { m_capture->onError = std::move(onError); }

private:
    std::shared_ptr<capture::MicCapture> m_capture;
};

class CaptureSystemSound final : public SystemSound {
public:
    explicit CaptureSystemSound(std::shared_ptr<capture::SystemAudioCapture> capture) : m_capture(std::move(capture)) {}

    void start(const capture::Display& display, std::function<void(std::optional<QString>)> completion) override {
        m_capture->start(display, std::move(completion));
    }

    void stop(std::function<void()> completion) override { m_capture->stop(std::move(completion)); }

    void setOnError(OnError onError) override { m_capture->onError = std::move(onError); }

private:
    std::shared_ptr<capture::SystemAudioCapture> m_capture;
};

class CaptureShooter final : public Shooter {
public:
    explicit CaptureShooter(std::shared_ptr<capture::ScreenShooter> shooter) : m_shooter(std::move(shooter)) {}

    void capture(Force force) override { m_shooter->capture(force); }

    [[nodiscard]] std::int64_t stop() override { return m_shooter->stop(); }

    void setOnError(OnError onError) override { m_shooter->onError = std::move(onError); }

private:
    std::shared_ptr<capture::ScreenShooter> m_shooter;
};

} // namespace

std::expected<std::shared_ptr<Track>, QString> CaptureRoles::makeTrack(const fs::path& url, const std::string& label,
                                                                       double startHost) {
    auto writer = capture::AudioTrackWriter::create(url, label, startHost,
                                                    {.dispatch = m_sources.dispatch, .clock = m_sources.hostClock});
    if (!writer) {
        return std::unexpected(writer.error().text);
    }
    return std::make_shared<WriterTrack>(*std::move(writer), startHost);
}

std::shared_ptr<Microphone> CaptureRoles::makeMicrophone(const std::shared_ptr<Track>& track) {
    return std::make_shared<CaptureMicrophone>(
        capture::MicCapture::create(m_sources.input, m_sources.dispatch, track->sink()));
}

std::shared_ptr<SystemSound> CaptureRoles::makeSystemSound(const std::shared_ptr<Track>& track) {
    return std::make_shared<CaptureSystemSound>(capture::SystemAudioCapture::create(
        m_sources.systemAudio, m_sources.screens, m_sources.dispatch, track->sink()));
}

std::shared_ptr<Shooter> CaptureRoles::makeShooter(const capture::Display& display, const fs::path& directory,
                                                   double startHost) {
    return std::make_shared<CaptureShooter>(std::make_shared<capture::ScreenShooter>(
        display, directory, startHost, m_sources.screens, m_sources.hostClock, m_sources.dispatch));
}

fs::path CaptureRoles::m4aURL(const fs::path& caf) const {
    return capture::AudioTrackWriter::m4aURL(caf);
}

std::expected<double, QString> CaptureRoles::convertToM4A(const fs::path& caf, const fs::path& m4a) {
    const auto seconds = capture::AudioTrackWriter::convertToM4A(caf, m4a);
    if (!seconds) {
        return std::unexpected(seconds.error().text);
    }
    return *seconds;
}

} // namespace entry
