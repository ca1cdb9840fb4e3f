// Records microphone and system audio through the real edge into two tracks, as a recording does.
#pragma once

#include "base/Dispatch.h"
#include "base/HostClock.h"
#include "capture/AudioTrackWriter.h"
#include "capture/MicCapture.h"
#include "capture/SystemAudioCapture.h"
#include "fakes/FakeScreenSource.h"
#include "fakes/TemporaryFolder.h"
#include "platform/linux/PulseInput.h"
#include "platform/linux/PulseSystemAudio.h"

#include <QString>

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace platform::linux_desktop {

/// The main thread of the tests: a queue of its own, since a test waits on its thread.
class Recorder {
public:
    Recorder();
    ~Recorder();

    /// Opens the microphone, then the system audio; nullopt when both run.
    [[nodiscard]] std::optional<QString> start();
    [[nodiscard]] std::optional<capture::CaptureError> startMic();
    /// Waits for the answer.
    [[nodiscard]] std::optional<QString> startSystem();
    /// What the meters of a recording ask for five times a second.
    void readMeters();
    void stop(); ///< ends both and closes the tracks

    [[nodiscard]] double startSeconds() const { return m_startSeconds; }

    [[nodiscard]] std::filesystem::path micTrack() const { return m_folder / "mic.caf"; }

    [[nodiscard]] std::filesystem::path systemTrack() const { return m_folder / "system.caf"; }

    /// What was reported through onError of either.
    [[nodiscard]] std::vector<QString> reports() const;

    [[nodiscard]] capture::MicCapture& mic() { return *m_mic; }

    [[nodiscard]] std::int64_t micBlocks() { return m_micWriter->health().buffers; }

    [[nodiscard]] std::int64_t systemBlocks() { return m_systemWriter->health().buffers; }

private:
    fakes::TemporaryFolder m_folder;
    base::MonotonicClock m_clock;
    std::unique_ptr<base::Scheduler> m_main;
    base::ThreadDispatch m_dispatch;
    fakes::FakeScreenSource m_screens;
    std::shared_ptr<PulseLoop> m_loop = std::make_shared<PulseLoop>();
    PulseInput m_input{m_loop};
    PulseSystemAudio m_source{m_loop};
    double m_startSeconds;
    std::shared_ptr<capture::AudioTrackWriter> m_micWriter;
    std::shared_ptr<capture::AudioTrackWriter> m_systemWriter;
    std::shared_ptr<capture::MicCapture> m_mic;
    std::shared_ptr<capture::SystemAudioCapture> m_system;
    mutable std::mutex m_lock;
    std::vector<QString> m_reports; // guarded by m_lock
};

} // namespace platform::linux_desktop
