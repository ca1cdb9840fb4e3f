// The real parts of a recording, as the session drives them.
//   Threads  as RecordingRoles
//   Owns     nothing: what it is made from outlives it and everything it makes
#pragma once

#include "base/Dispatch.h"
#include "base/HostClock.h"
#include "capture/AudioInput.h"
#include "capture/ScreenSource.h"
#include "capture/SystemAudioSource.h"
#include "entry/RecordingRoles.h"

namespace entry {

class CaptureRoles final : public RecordingRoles {
public:
    struct Sources {
        base::Dispatch& dispatch;
        const base::HostClock& hostClock;
        capture::AudioInput& input;
        capture::SystemAudioSource& systemAudio;
        capture::ScreenSource& screens;
    };

    explicit CaptureRoles(const Sources& sources) : m_sources(sources) {}

    [[nodiscard]] std::expected<std::shared_ptr<Track>, QString>
    makeTrack(const std::filesystem::path& url, const std::string& label, double startHost) override;
    [[nodiscard]] std::shared_ptr<Microphone> makeMicrophone(const std::shared_ptr<Track>& track) override;
    [[nodiscard]] std::shared_ptr<SystemSound> makeSystemSound(const std::shared_ptr<Track>& track) override;
    [[nodiscard]] std::shared_ptr<Shooter>
    makeShooter(const capture::Display& display, const std::filesystem::path& directory, double startHost) override;
    [[nodiscard]] std::filesystem::path m4aURL(const std::filesystem::path& caf) const override;
    [[nodiscard]] std::expected<double, QString> convertToM4A(const std::filesystem::path& caf,
                                                              const std::filesystem::path& m4a) override;

private:
    Sources m_sources;
};

} // namespace entry
