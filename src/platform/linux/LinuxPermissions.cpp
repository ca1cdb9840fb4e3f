#include "platform/linux/LinuxPermissions.h"

#include <utility>

namespace platform::linux_desktop {

LinuxPermissions::LinuxPermissions(base::Dispatch& dispatch, entry::Opener& opener, Probes probes)
    : m_dispatch(dispatch)
    , m_opener(opener)
    , m_probes(std::move(probes)) {}

bool LinuxPermissions::microphoneGranted() const {
    return *m_microphone;
}

bool LinuxPermissions::screenCaptureGranted() const {
    return m_probes.hasDesktop();
}

void LinuxPermissions::requestMicrophone(std::function<void(bool granted)> answer) {
    auto& main = m_dispatch.main();
    m_dispatch.background(base::Priority::UserInitiated, [ask = m_probes.soundServer, answer = std::move(answer),
                                                          kept = std::weak_ptr(m_microphone), &main] {
        // A server that is there but says nothing is the microphone's trouble: the start has a time limit and a text
        // for it. Only where there is none has the user something to set right first.
        const bool granted = ask() != SoundServer::Refuses;
        main.post([answer, kept, granted] {
            if (const auto microphone = kept.lock()) {
                *microphone = granted;
                answer(granted);
            }
        });
    });
}

bool LinuxPermissions::requestScreenCapture() {
    return screenCaptureGranted();
}

void LinuxPermissions::open(const QString& address) {
    if (address != microphonePane && address != screenCapturePane) {
        m_opener.openURL(address);
    } else if (!m_opener.openPane(address)) {
        m_probes.explain(address);
    }
}

} // namespace platform::linux_desktop
