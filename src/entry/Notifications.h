// The desktop's notification service, as narrow as the program needs it. What may be posted when is Notifier's rule.
//   Threads  the main thread; every operation returns at once, replies come on the main thread, once, or never
//   Errors   none: a desktop without the service swallows what it is given
#pragma once

#include <QString>

#include <functional>

namespace entry {

struct Notification {
    QString title;
    QString body;       ///< plain text: whoever sends it escapes what the service would take for markup
    QString identifier; ///< fresh for each
    bool operator==(const Notification&) const = default;
};

class Notifications {
public:
    enum class Status { NotDetermined, Denied, Provisional, Authorized };

    virtual ~Notifications() = default;
    /// Whether the user lets this program post. Desktops that never ask answer Authorized.
    virtual void status(std::function<void(Status)> reply) = 0;
    /// Asks the user for notifications without sound or badge.
    virtual void requestAlerts(std::function<void(bool granted)> reply) = 0;
    /// Shows it at once, without sound.
    virtual void add(const Notification& notification) = 0;
};

} // namespace entry
