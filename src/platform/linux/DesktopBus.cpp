#include "platform/linux/DesktopBus.h"

#include "platform/linux/BusSignalReceiver.h"

#include <QDBusConnection>
#include <QDBusError>

#include <atomic>
#include <utility>
#include <vector>

namespace platform::linux_desktop {

using namespace Qt::StringLiterals;

namespace {

QString freshName() {
    static std::atomic<int> made = 0;
    return u"desktop-%1"_s.arg(++made);
}

/// The bus that the environment names now. libdbus looks there once and stays with what it found.
QDBusConnection connectFresh(DesktopBus::Kind kind, const QString& name) {
    const bool session = kind == DesktopBus::Kind::Session;
    const QString address = qEnvironmentVariable(session ? "DBUS_SESSION_BUS_ADDRESS" : "DBUS_SYSTEM_BUS_ADDRESS");
    if (!address.isEmpty()) {
        return QDBusConnection::connectToBus(address, name);
    }
    return QDBusConnection::connectToBus(session ? QDBusConnection::SessionBus : QDBusConnection::SystemBus, name);
}

} // namespace

/// A private connection, so that ending it ends what was asked for through it.
class DesktopBus::Connection {
public:
    Connection(Kind kind, double replyLimitSeconds)
        : m_kind(kind)
        , m_limitMilliseconds(static_cast<int>(replyLimitSeconds * 1000)) {}

    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    ~Connection() { end(); }

    QDBusMessage call(const QDBusMessage& message) {
        QDBusConnection bus = connected();
        if (!bus.isConnected()) {
            return QDBusMessage::createError(QDBusError(QDBusError::Disconnected, bus.lastError().message()));
        }
        return bus.call(message, QDBus::Block, m_limitMilliseconds);
    }

    void listen(const Signal& signal, const std::shared_ptr<BusSignalReceiver>& receiver) {
        QDBusConnection bus = connected();
        m_listening.emplace_back(signal, receiver);
        connectTo(bus, signal, *receiver);
    }

private:
    QDBusConnection connected() {
        if (!m_name.isEmpty()) {
            QDBusConnection bus(m_name);
            if (bus.isConnected()) {
                return bus;
            }
            end();
        }
        m_name = freshName();
        QDBusConnection fresh = connectFresh(m_kind, m_name);
        std::erase_if(m_listening, [](const auto& listening) { return listening.second.expired(); });
        for (const auto& [signal, listener] : m_listening) {
            if (const auto receiver = listener.lock()) {
                connectTo(fresh, signal, *receiver);
            }
        }
        return fresh;
    }

    static void connectTo(QDBusConnection& bus, const Signal& signal, BusSignalReceiver& receiver) {
        bus.connect(signal.service, signal.path, signal.interface, signal.name, &receiver,
                    SLOT(received(QDBusMessage)));
    }

    void end() {
        if (!m_name.isEmpty()) {
            QDBusConnection::disconnectFromBus(std::exchange(m_name, {}));
        }
    }

    const Kind m_kind;
    const int m_limitMilliseconds;
    QString m_name;                                                               ///< empty while there was none
    std::vector<std::pair<Signal, std::weak_ptr<BusSignalReceiver>>> m_listening; ///< taken along to a new connection
};

DesktopBus::DesktopBus(Kind kind, base::Dispatch& dispatch, double replyLimitSeconds)
    : m_connection(std::make_shared<Connection>(kind, replyLimitSeconds))
    , m_queue(dispatch.makeSerialQueue(kind == Kind::Session ? "com.orvane.tarvex.session-bus"
                                                             : "com.orvane.tarvex.system-bus",
                                       base::Priority::Default)) {}

DesktopBus::~DesktopBus() {
    std::unique_lock lock(m_mutex);
    auto queue = std::move(m_queue);
    lock.unlock();
    queue.reset();
}

void DesktopBus::call(const QDBusMessage& message, Reply reply) {
    afterwards([connection = m_connection, message, reply = std::move(reply)] {
        const QDBusMessage answer = connection->call(message);
        if (reply) {
            reply(answer);
        }
    });
}

void DesktopBus::afterwards(base::Task task) {
    const std::scoped_lock lock(m_mutex);
    if (m_queue) {
        m_queue->post(std::move(task));
    }
}

DesktopBus::Subscription DesktopBus::listen(const Signal& signal, Handler handler) {
    // The queue may still be about to connect it when the subscription ends: it goes when both have let go, on the
    // thread that it lives in.
    const std::shared_ptr<BusSignalReceiver> receiver(new BusSignalReceiver(std::move(handler)),
                                                      [](BusSignalReceiver* ended) { ended->deleteLater(); });
    afterwards([connection = m_connection, signal, receiver] { connection->listen(signal, receiver); });
    return {receiver.get(), [receiver](QObject*) { receiver->mute(); }};
}

} // namespace platform::linux_desktop
