#include "PrivateBus.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>
#include <gtest/gtest.h>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

PrivateBus::PrivateBus(Kind kind)
    : m_variable(kind == Kind::Session ? "DBUS_SESSION_BUS_ADDRESS" : "DBUS_SYSTEM_BUS_ADDRESS")
    , m_before(qgetenv(m_variable)) {
    m_process.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
    EXPECT_TRUE(m_process.waitForReadyRead(20000)) << "the bus does not start";
    m_address = QString::fromUtf8(m_process.readLine().trimmed());
    qputenv(m_variable, m_address.toUtf8());
}

PrivateBus::~PrivateBus() {
    kill();
    qputenv(m_variable, m_before);
}

void PrivateBus::pause() {
    ::kill(static_cast<pid_t>(m_process.processId()), SIGSTOP);
}

void PrivateBus::resume() {
    ::kill(static_cast<pid_t>(m_process.processId()), SIGCONT);
}

void PrivateBus::kill() {
    m_process.kill();
    m_process.waitForFinished(20000);
}

MockService::MockService(const PrivateBus& bus, const QString& name, Answer answer)
    : m_connectionName(u"mock-"_s + name)
    , m_connection(QDBusConnection::connectToBus(bus.address(), m_connectionName))
    , m_answer(std::move(answer)) {
    EXPECT_TRUE(m_connection.registerVirtualObject(u"/"_s, this, QDBusConnection::SubPath));
    EXPECT_TRUE(m_connection.registerService(name));
}

MockService::~MockService() {
    QDBusConnection::disconnectFromBus(m_connectionName);
}

std::vector<QDBusMessage> MockService::callsOf(const QString& member) const {
    std::vector<QDBusMessage> found;
    for (const QDBusMessage& call : calls) {
        if (call.member() == member) {
            found.push_back(call);
        }
    }
    return found;
}

void MockService::signal(const QString& path, const QString& interface, const QString& member,
                         const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createSignal(path, interface, member);
    message.setArguments(arguments);
    m_connection.send(message);
}

bool MockService::handleMessage(const QDBusMessage& call, const QDBusConnection& connection) {
    calls.push_back(call);
    if (const QDBusMessage reply = m_answer(call); reply.type() != QDBusMessage::InvalidMessage) {
        connection.send(reply);
    }
    return true;
}

QString MockService::introspect(const QString& /*path*/) const {
    return {};
}

bool eventually(const std::function<bool()>& condition) {
    const QDeadlineTimer end(60s);
    QTimer wakeUp; // for what happens on other threads
    wakeUp.start(5ms);
    while (!condition()) {
        if (end.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

void runEvents() {
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}
