// Keeps the machine awake: through logind, which stops both sleep and idleness; where it refuses or is missing through
// the screen saver's service, else the desktop portal.
//   Threads  any
//   Errors   where nobody can be asked the work goes on without it
#pragma once

#include "entry/KeepAwake.h"
#include "platform/linux/DesktopBus.h"

namespace platform::linux_desktop {

class DesktopKeepAwake final : public entry::KeepAwake {
public:
    /// `session` outlives `system`, and both outlive this and its tokens.
    DesktopKeepAwake(DesktopBus& system, DesktopBus& session) : m_system(system), m_session(session) {}

    [[nodiscard]] std::unique_ptr<Token> hold(const QString& reason) override;

private:
    DesktopBus& m_system;
    DesktopBus& m_session;
};

} // namespace platform::linux_desktop
