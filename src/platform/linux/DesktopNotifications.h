// Notifications through org.freedesktop.Notifications. The desktop asks nobody: whoever does not want them turns them
// off there.
//   Threads  the main thread
//   Errors   a desktop without the service swallows them
#pragma once

#include "entry/Notifications.h"
#include "platform/linux/DesktopBus.h"

namespace platform::linux_desktop {

class DesktopNotifications final : public entry::Notifications {
public:
    /// `session` outlives it.
    explicit DesktopNotifications(DesktopBus& session) : m_session(session) {}

    void status(std::function<void(Status)> reply) override;
    void requestAlerts(std::function<void(bool granted)> reply) override;
    void add(const entry::Notification& notification) override;

private:
    DesktopBus& m_session;
};

} // namespace platform::linux_desktop
