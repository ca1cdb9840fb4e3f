#include "platform/linux/Logind.h"

namespace platform::linux_desktop::Logind {

using namespace Qt::StringLiterals;

namespace {

const QString service = u"org.freedesktop.login1"_s;
const QString path = u"/org/freedesktop/login1"_s;
const QString manager = u"org.freedesktop.login1.Manager"_s;

} // namespace

QDBusMessage inhibitCall(const QString& what, const QString& reason, const QString& mode) {
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, manager, u"Inhibit"_s);
    call << what << u"Brieflet"_s << reason << mode;
    return call;
}

std::optional<QDBusUnixFileDescriptor> inhibitorOf(const QDBusMessage& reply) {
    auto descriptor = reply.arguments().value(0).value<QDBusUnixFileDescriptor>();
    if (reply.type() != QDBusMessage::ReplyMessage || !descriptor.isValid()) {
        return std::nullopt;
    }
    return descriptor;
}

DesktopBus::Signal prepareForShutdown() {
    return {.service = service, .path = path, .interface = manager, .name = u"PrepareForShutdown"_s};
}

} // namespace platform::linux_desktop::Logind
