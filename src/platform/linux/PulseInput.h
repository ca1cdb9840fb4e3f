// The microphone: the default source of the sound server, in the rate and the channels of the device itself.
//   Threads  as AudioInput says; waits of open() end after `openLimit` whatever the server does
//   Idle     without a stream or a watch no thread of this wakes up
#pragma once

#include "capture/AudioInput.h"
#include "platform/linux/PulseLoop.h"

#include <memory>
#include <mutex>
#include <string>

namespace platform::linux_desktop {

class PulseInput final : public capture::AudioInput {
public:
    /// How long open() takes at most. A server that hangs does not answer later either. Seconds.
    static constexpr double openLimit = 8.0;

    explicit PulseInput(std::shared_ptr<PulseLoop> loop);
    ~PulseInput() override;

    [[nodiscard]] std::expected<std::unique_ptr<Stream>, capture::CaptureError> open(Handlers handlers,
                                                                                     const Stream* replaced) override;
    [[nodiscard]] std::unique_ptr<Watch> watch(std::function<void()> onChange) override;

private:
    std::shared_ptr<PulseLoop> m_loop;
    std::mutex m_lock;
    std::string m_openedSource; // guarded by m_lock: the default that the latest open() found
};

} // namespace platform::linux_desktop
