#include "platform/linux/DesktopShutdownWatch.h"

#include "copy/DesktopCopy.h"
#include "platform/linux/Logind.h"
#include "platform/linux/QuitSignals.h"

#include <QGuiApplication>
#include <QObject>
#include <QSessionManager>

#include <mutex>
#include <utility>

namespace platform::linux_desktop {

using namespace Qt::StringLiterals;

namespace {

/// logind's wait, asked for without waiting for its answer; over when this and the question are.
struct Delay {
    std::mutex mutex;
    std::optional<QDBusUnixFileDescriptor> inhibitor;
};

class Watching final : public entry::ShutdownWatch::Watch {
public:
    Watching(DesktopBus& system, entry::ShutdownWatch::Handlers handlers)
        : m_handlers(std::make_shared<entry::ShutdownWatch::Handlers>(std::move(handlers)))
        , m_signals([kept = std::weak_ptr(m_handlers)] { quit(kept); }) {
        m_goingDown =
            system.listen(Logind::prepareForShutdown(), [kept = std::weak_ptr(m_handlers)](const QDBusMessage& signal) {
                if (signal.arguments().value(0).toBool()) {
                    powerOff(kept);
                }
            });
        system.call(Logind::inhibitCall(u"shutdown"_s, copy::DesktopCopy::current().savesBeforeShutdown, u"delay"_s),
                    [delay = std::weak_ptr(m_delay)](const QDBusMessage& reply) {
                        if (const auto kept = delay.lock()) {
                            const std::scoped_lock lock(kept->mutex);
                            kept->inhibitor = Logind::inhibitorOf(reply);
                        }
                    });
        listenToSessionManager();
    }

private:
    using Kept = std::weak_ptr<entry::ShutdownWatch::Handlers>;

    static void quit(const Kept& kept) {
        if (const auto handlers = kept.lock(); handlers && handlers->onQuit) {
            handlers->onQuit();
        }
    }

    static void powerOff(const Kept& kept) {
        if (const auto handlers = kept.lock(); handlers && handlers->onPowerOff) {
            handlers->onPowerOff();
        }
        quit(kept); // of a watch that onPowerOff has ended nothing is called
    }

    /// Its question is answered before the saving is done: it must not wait for the event loop that it is asked from.
    void listenToSessionManager() {
        if (auto* application = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
            QObject::connect(
                application, &QGuiApplication::commitDataRequest, &m_context,
                [kept = Kept(m_handlers)](QSessionManager& /*manager*/) { powerOff(kept); }, Qt::DirectConnection);
        }
    }

    std::shared_ptr<entry::ShutdownWatch::Handlers> m_handlers;
    std::shared_ptr<Delay> m_delay = std::make_shared<Delay>();
    QuitSignals m_signals;
    DesktopBus::Subscription m_goingDown;
    QObject m_context;
};

} // namespace

std::unique_ptr<entry::ShutdownWatch::Watch> DesktopShutdownWatch::watch(Handlers handlers) {
    return std::make_unique<Watching>(m_system, std::move(handlers));
}

} // namespace platform::linux_desktop
