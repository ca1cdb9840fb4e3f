#include "platform/linux/BusSignalReceiver.h"

namespace platform::linux_desktop {

void BusSignalReceiver::received(const QDBusMessage& signal) {
    if (const auto handler = m_handler) { // a copy, since it may end the subscription that holds it
        handler(signal);
    }
}

} // namespace platform::linux_desktop
