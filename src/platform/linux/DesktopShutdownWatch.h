// Hears of the end from logind, from the session manager and by signals, and makes logind wait for the program.
//   Threads  the main thread, which runs a Qt event loop
//   Errors   where there is no logind or no session manager the others are heard
#pragma once

#include "entry/ShutdownWatch.h"
#include "platform/linux/DesktopBus.h"

namespace platform::linux_desktop {

class DesktopShutdownWatch final : public entry::ShutdownWatch {
public:
    /// `system` outlives this and its watches.
    explicit DesktopShutdownWatch(DesktopBus& system) : m_system(system) {}

    [[nodiscard]] std::unique_ptr<Watch> watch(Handlers handlers) override;

private:
    DesktopBus& m_system;
};

} // namespace platform::linux_desktop
