#include "platform/linux/DesktopKeepAwake.h"

#include "platform/linux/Logind.h"

#include <QDBusObjectPath>
#include <QVariantMap>

#include <mutex>
#include <utility>
#include <variant>

namespace platform::linux_desktop {

using namespace Qt::StringLiterals;

namespace {

const QString screenSaver = u"org.freedesktop.ScreenSaver"_s;
const QString portal = u"org.freedesktop.portal.Desktop"_s;

bool isAnswer(const QDBusMessage& reply) {
    return reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty();
}

QDBusMessage screenSaverCall(const QString& name) {
    return QDBusMessage::createMethodCall(screenSaver, u"/org/freedesktop/ScreenSaver"_s, screenSaver, name);
}

QDBusMessage inhibitScreenSaver(const QString& reason) {
    QDBusMessage call = screenSaverCall(u"Inhibit"_s);
    call << u"Brieflet"_s << reason;
    return call;
}

QDBusMessage releaseScreenSaver(uint cookie) {
    QDBusMessage call = screenSaverCall(u"UnInhibit"_s);
    call << cookie;
    return call;
}

QDBusMessage inhibitThroughPortal(const QString& reason) {
    constexpr uint suspend = 4;
    constexpr uint idle = 8;
    QDBusMessage call = QDBusMessage::createMethodCall(portal, u"/org/freedesktop/portal/desktop"_s,
                                                       u"org.freedesktop.portal.Inhibit"_s, u"Inhibit"_s);
    call << QString() << (suspend | idle) << QVariantMap{{u"reason"_s, reason}};
    return call;
}

QDBusMessage closePortalRequest(const QDBusObjectPath& request) {
    return QDBusMessage::createMethodCall(portal, request.path(), u"org.freedesktop.portal.Request"_s, u"Close"_s);
}

using Grant = std::variant<std::monostate, QDBusUnixFileDescriptor, uint, QDBusObjectPath>;

/// Gives back what was granted. A descriptor is given back by being closed.
void giveBack(DesktopBus& session, const Grant& grant) {
    if (const auto* cookie = std::get_if<uint>(&grant)) {
        session.call(releaseScreenSaver(*cookie));
    } else if (const auto* request = std::get_if<QDBusObjectPath>(&grant)) {
        session.call(closePortalRequest(*request));
    }
}

/// What one token holds: an answer may come when the token has gone already.
class Held {
public:
    Held(DesktopBus& system, DesktopBus& session) : m_system(system), m_session(session) {}

    [[nodiscard]] DesktopBus& system() const { return m_system; }

    [[nodiscard]] DesktopBus& session() const { return m_session; }

    void settle(Grant grant) {
        std::unique_lock lock(m_mutex);
        if (!m_released) {
            m_grant = std::move(grant);
            return;
        }
        lock.unlock();
        giveBack(m_session, grant);
    }

    void release() {
        std::unique_lock lock(m_mutex);
        m_released = true;
        const Grant grant = std::exchange(m_grant, {});
        lock.unlock();
        giveBack(m_session, grant);
    }

private:
    DesktopBus& m_system;
    DesktopBus& m_session;
    std::mutex m_mutex;
    bool m_released = false;
    Grant m_grant;
};

void askPortal(const std::shared_ptr<Held>& held, const QString& reason) {
    held->session().call(inhibitThroughPortal(reason), [held](const QDBusMessage& reply) {
        if (isAnswer(reply)) {
            held->settle(reply.arguments().front().value<QDBusObjectPath>());
        }
    });
}

void askScreenSaver(const std::shared_ptr<Held>& held, const QString& reason) {
    held->session().call(inhibitScreenSaver(reason), [held, reason](const QDBusMessage& reply) {
        if (isAnswer(reply)) {
            held->settle(reply.arguments().front().toUInt());
        } else {
            askPortal(held, reason);
        }
    });
}

void askLogind(const std::shared_ptr<Held>& held, const QString& reason) {
    held->system().call(Logind::inhibitCall(u"sleep:idle"_s, reason, u"block"_s),
                        [held, reason](const QDBusMessage& reply) {
                            if (auto inhibitor = Logind::inhibitorOf(reply)) {
                                held->settle(std::move(*inhibitor));
                            } else {
                                askScreenSaver(held, reason);
                            }
                        });
}

class HoldingToken final : public entry::KeepAwake::Token {
public:
    explicit HoldingToken(std::shared_ptr<Held> held) : m_held(std::move(held)) {}

    ~HoldingToken() override { m_held->release(); }

private:
    std::shared_ptr<Held> m_held;
};

} // namespace

std::unique_ptr<entry::KeepAwake::Token> DesktopKeepAwake::hold(const QString& reason) {
    auto held = std::make_shared<Held>(m_system, m_session);
    askLogind(held, reason);
    return std::make_unique<HoldingToken>(std::move(held));
}

} // namespace platform::linux_desktop
