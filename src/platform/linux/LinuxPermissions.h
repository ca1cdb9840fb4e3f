// What may be captured on the Linux desktop. The sound server asks nobody, so the microphone is granted where a server
// answers; screens are listed without a grant wherever there is a desktop.
//   Threads  the main thread; the server is asked on a thread of its own
//   Owns     nothing: dispatch, probe and opener outlive it; a question that is open when it goes is not answered
#pragma once

#include "base/Dispatch.h"
#include "entry/Opener.h"
#include "ui/Permissions.h"

#include <functional>
#include <memory>

namespace platform::linux_desktop {

class LinuxPermissions final : public ui::Permissions {
public:
    enum class SoundServer { Answers, Refuses, Silent };

    struct Probes {
        /// Blocks for at most some seconds; called in the background.
        std::function<SoundServer()> soundServer;
        std::function<bool()> hasDesktop;
        /// Says in words where the settings are, where nothing can be opened.
        std::function<void(const QString& pane)> explain;
    };

    LinuxPermissions(base::Dispatch& dispatch, entry::Opener& opener, Probes probes);

    /// What the last question found; true before the first.
    [[nodiscard]] bool microphoneGranted() const override;
    [[nodiscard]] bool screenCaptureGranted() const override;
    void requestMicrophone(std::function<void(bool granted)> answer) override;
    [[nodiscard]] bool requestScreenCapture() override;
    void open(const QString& address) override;

private:
    base::Dispatch& m_dispatch;
    entry::Opener& m_opener;
    Probes m_probes;
    std::shared_ptr<bool> m_microphone = std::make_shared<bool>(true); ///< held weakly by questions under way
};

} // namespace platform::linux_desktop
