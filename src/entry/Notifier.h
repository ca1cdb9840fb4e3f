// Tells the user something outside the window, if the user lets us. Self-tests stay silent.
//   Threads  the main thread
//   Owns     nothing: `notifications` outlives it, and a reply that comes after the notifier has gone does nothing
#pragma once

#include "entry/Notifications.h"

#include <memory>

namespace entry {

class Notifier {
public:
    explicit Notifier(Notifications& notifications);

    void post(const QString& text);

private:
    void add(const QString& text);

    Notifications& m_notifications;
    std::shared_ptr<Notifier*> m_self; ///< what replies hold weakly
};

} // namespace entry
