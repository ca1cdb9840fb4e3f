// A D-Bus connection used from a queue of its own, so that a bus or a service that hangs holds up nobody else.
//   Threads  any. Replies come on the bus's queue; signals on the thread that listens, which runs a Qt event loop
//   Errors   a bus that can't be reached, a service that is not there or does not answer in time: the reply is an
//            error message. The next call connects again.
//   Idle     nothing runs between calls
#pragma once

#include "base/Dispatch.h"

#include <QDBusMessage>
#include <QString>

#include <functional>
#include <memory>
#include <mutex>

class QObject;

namespace platform::linux_desktop {

class DesktopBus {
public:
    enum class Kind { Session, System };
    using Reply = std::function<void(const QDBusMessage& reply)>;
    using Handler = std::function<void(const QDBusMessage& signal)>;

    /// Seconds that a call waits for its answer.
    static constexpr double replyLimit = 2.0;

    DesktopBus(Kind kind, base::Dispatch& dispatch, double replyLimitSeconds = replyLimit);
    DesktopBus(const DesktopBus&) = delete;
    DesktopBus& operator=(const DesktopBus&) = delete;
    /// Waits for the call under way, whose reply may still be given; what has not begun is dropped, replies included.
    ~DesktopBus();

    /// Calls follow each other in order.
    void call(const QDBusMessage& message, Reply reply = {});
    /// Runs `task` on the queue after the calls made so far.
    void afterwards(base::Task task);

    /// Where a signal comes from. An empty service: from anyone.
    struct Signal {
        QString service;
        QString path;
        QString interface;
        QString name;
    };

    /// Calls `handler` for as long as the subscription lives. After a bus was lost signals are heard again once a call
    /// has reached the new one.
    using Subscription = std::shared_ptr<QObject>;
    [[nodiscard]] Subscription listen(const Signal& signal, Handler handler);

private:
    class Connection;
    std::shared_ptr<Connection> m_connection; ///< used on the queue alone
    std::mutex m_mutex;                       ///< over m_queue, which a reply may use while it is being ended
    std::shared_ptr<base::Scheduler> m_queue;
};

} // namespace platform::linux_desktop
