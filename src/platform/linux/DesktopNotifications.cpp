#include "platform/linux/DesktopNotifications.h"

#include <QStringList>
#include <QVariantMap>

namespace platform::linux_desktop {

using namespace Qt::StringLiterals;

namespace {

const QString service = u"org.freedesktop.Notifications"_s;

QDBusMessage method(const QString& name) {
    return QDBusMessage::createMethodCall(service, u"/org/freedesktop/Notifications"_s, service, name);
}

/// A body is markup for services that say so, and plain text for the others.
QString bodyFor(const QStringList& capabilities, const QString& text) {
    return capabilities.contains(u"body-markup"_s) ? text.toHtmlEscaped() : text;
}

QDBusMessage notifyCall(const entry::Notification& notification, const QStringList& capabilities) {
    constexpr uint replacesNone = 0;
    constexpr int asLongAsTheDesktopLikes = -1;
    const QVariantMap hints{{u"desktop-entry"_s, u"brieflet"_s}, {u"suppress-sound"_s, true}};
    QDBusMessage call = method(u"Notify"_s);
    call << u"Brieflet"_s << replacesNone << u"brieflet"_s << notification.title
         << bodyFor(capabilities, notification.body) << QStringList() << hints << asLongAsTheDesktopLikes;
    return call;
}

} // namespace

void DesktopNotifications::status(std::function<void(Status)> reply) {
    reply(Status::Authorized);
}

void DesktopNotifications::requestAlerts(std::function<void(bool granted)> reply) {
    reply(true);
}

void DesktopNotifications::add(const entry::Notification& notification) {
    m_session.call(method(u"GetCapabilities"_s), [session = &m_session, notification](const QDBusMessage& answer) {
        if (answer.type() == QDBusMessage::ReplyMessage) {
            session->call(notifyCall(notification, answer.arguments().value(0).toStringList()));
        }
    });
}

} // namespace platform::linux_desktop
