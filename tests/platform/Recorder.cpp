#include "platform/Recorder.h"

#include "base/SerialQueue.h"

#include <future>

namespace platform::linux_desktop {

namespace {

std::shared_ptr<capture::AudioTrackWriter> makeWriter(const std::filesystem::path& track, const std::string& label,
                                                      double start, base::Dispatch& dispatch,
                                                      const base::HostClock& clock) {
    auto made = capture::AudioTrackWriter::create(track, label, start, {.dispatch = dispatch, .clock = clock});
    return made ? std::move(*made) : nullptr;
}

} // namespace

Recorder::Recorder()
    : m_main(std::make_unique<base::SerialQueue>("test.main"))
    , m_dispatch(*m_main)
    , m_startSeconds(m_clock.now())
    , m_micWriter(makeWriter(micTrack(), "mic", m_startSeconds, m_dispatch, m_clock))
    , m_systemWriter(makeWriter(systemTrack(), "system", m_startSeconds, m_dispatch, m_clock))
    , m_mic(capture::MicCapture::create(m_input, m_dispatch, m_micWriter))
    , m_system(capture::SystemAudioCapture::create(m_source, m_screens, m_dispatch, m_systemWriter)) {
    m_screens.nextContent = capture::ScreenContent{{capture::Display{1, {}, 0, 0}}, {}, 1};
    const auto report = [this](const QString& text) {
        const std::lock_guard lock(m_lock);
        m_reports.push_back(text);
    };
    m_mic->onError = report;
    m_system->onError = report;
}

Recorder::~Recorder() {
    stop();
}

std::optional<capture::CaptureError> Recorder::startMic() {
    return m_mic->start();
}

std::optional<QString> Recorder::startSystem() {
    std::promise<std::optional<QString>> answered;
    auto answer = answered.get_future();
    m_system->start(capture::Display{1, {}, 0, 0},
                    [&](const std::optional<QString>& error) { answered.set_value(error); });
    return answer.get();
}

std::optional<QString> Recorder::start() {
    if (const auto error = startMic()) {
        return error->text();
    }
    return startSystem();
}

void Recorder::readMeters() {
    static_cast<void>(m_micWriter->takeLevelDB());
    static_cast<void>(m_systemWriter->takeLevelDB());
}

void Recorder::stop() {
    if (!m_mic) {
        return;
    }
    m_mic->stop();
    std::promise<void> ended;
    m_system->stop([&] { ended.set_value(); });
    ended.get_future().wait();
    const double length = m_clock.now() - m_startSeconds;
    m_micWriter->finish(length);
    m_systemWriter->finish(length);
    m_mic.reset();
    m_system.reset();
}

std::vector<QString> Recorder::reports() const {
    const std::lock_guard lock(m_lock);
    return m_reports;
}

} // namespace platform::linux_desktop
