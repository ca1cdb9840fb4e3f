// A message bus for one test, and a service on it that answers as the test says.
#pragma once

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QString>
#include <QVariantList>

#include <functional>
#include <vector>

/// $DBUS_SESSION_BUS_ADDRESS or $DBUS_SYSTEM_BUS_ADDRESS names it for as long as it lives.
class PrivateBus {
public:
    enum class Kind { Session, System };

    explicit PrivateBus(Kind kind);
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    ~PrivateBus();

    void pause(); ///< it does not answer any more, and its connections stay
    void resume();
    void kill();

    [[nodiscard]] QString address() const { return m_address; }

private:
    const char* m_variable;
    QByteArray m_before;
    QString m_address;
    QProcess m_process;
};

class MockService final : public QDBusVirtualObject {
public:
    using Answer = std::function<QDBusMessage(const QDBusMessage& call)>;

    MockService(const PrivateBus& bus, const QString& name, Answer answer);
    ~MockService() override;

    std::vector<QDBusMessage> calls;

    [[nodiscard]] std::vector<QDBusMessage> callsOf(const QString& member) const;
    void signal(const QString& path, const QString& interface, const QString& member, const QVariantList& arguments);

    bool handleMessage(const QDBusMessage& call, const QDBusConnection& connection) override;
    [[nodiscard]] QString introspect(const QString& path) const override;

private:
    QString m_connectionName;
    QDBusConnection m_connection;
    Answer m_answer;
};

/// Runs the event loop until `condition` holds; false when it does not for very long.
[[nodiscard]] bool eventually(const std::function<bool()>& condition);
/// Runs what is due now.
void runEvents();
