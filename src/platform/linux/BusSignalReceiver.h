// Hands a D-Bus signal on to a function. QtDBus delivers only to slots.
#pragma once

#include <QDBusMessage>
#include <QObject>

#include <functional>
#include <utility>

namespace platform::linux_desktop {

class BusSignalReceiver final : public QObject {
    Q_OBJECT

public:
    explicit BusSignalReceiver(std::function<void(const QDBusMessage&)> handler) : m_handler(std::move(handler)) {}

    /// Nothing is handed on after this. Call it on the thread that the receiver lives in.
    void mute() { m_handler = nullptr; }

public Q_SLOTS:
    void received(const QDBusMessage& signal);

private:
    std::function<void(const QDBusMessage&)> m_handler;
};

} // namespace platform::linux_desktop
