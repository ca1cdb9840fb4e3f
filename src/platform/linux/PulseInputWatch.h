// Watches the sound server for changes of microphones, through its death and return.
//   Threads  made and ended on any; works on a thread of its own. onChange comes on that thread, never after the end
#pragma once

#include "capture/AudioInput.h"
#include "platform/linux/PulseLoop.h"

#include <memory>
#include <string>

namespace platform::linux_desktop {

class PulseInputWatch final : public capture::AudioInput::Watch {
public:
    /// Between two tries to reach a server that has gone. Seconds.
    static constexpr double reconnectDelay = 1.0;
    /// For one answer of the server. Seconds.
    static constexpr double answerLimit = 5.0;

    /// `known`: the default source that is in use; it is a change if the server has another one by now.
    PulseInputWatch(std::shared_ptr<PulseLoop> loop, std::string known, std::function<void()> onChange);
    ~PulseInputWatch() override; ///< does not wait for the server

private:
    class Work;
    std::shared_ptr<Work> m_work;
};

} // namespace platform::linux_desktop
