// The words spoken with logind.
#pragma once

#include "platform/linux/DesktopBus.h"

#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QString>

#include <optional>

namespace platform::linux_desktop::Logind {

/// Asks for an inhibitor; it is held for as long as its descriptor is open.
[[nodiscard]] QDBusMessage inhibitCall(const QString& what, const QString& reason, const QString& mode);
/// The inhibitor out of the reply; nullopt when it was refused.
[[nodiscard]] std::optional<QDBusUnixFileDescriptor> inhibitorOf(const QDBusMessage& reply);
/// Sent with true when the machine is about to go down and with false when that was called off.
[[nodiscard]] DesktopBus::Signal prepareForShutdown();

} // namespace platform::linux_desktop::Logind
