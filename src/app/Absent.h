// Stand-ins for desktop services that this build does not speak to yet: each does what a desktop without it would.
#pragma once

#include "entry/KeepAwake.h"
#include "entry/Notifications.h"
#include "entry/Opener.h"
#include "entry/ShutdownWatch.h"

#include <QSocketNotifier>

#include <array>
#include <csignal>
#include <memory>
#include <unistd.h>

namespace app {

class NoNotifications final : public entry::Notifications {
public:
    void status(std::function<void(Status)> reply) override { reply(Status::Denied); }

    void requestAlerts(std::function<void(bool)> reply) override { reply(false); }

    void add(const entry::Notification&) override {}
};

class NoKeepAwake final : public entry::KeepAwake {
public:
    std::unique_ptr<Token> hold(const QString&) override { return std::make_unique<Token>(); }
};

class NoOpener final : public entry::Opener {
public:
    void openFolder(const std::filesystem::path&) override {}

    void openURL(const QString&) override {}

    bool openPane(const QString&) override { return false; }
};

/// Signals alone.
class SignalWatch final : public entry::ShutdownWatch {
public:
    std::unique_ptr<Watch> watch(Handlers handlers) override { return std::make_unique<Pipe>(std::move(handlers)); }

private:
    class Pipe final : public Watch {
    public:
        explicit Pipe(Handlers handlers) : m_handlers(std::move(handlers)) {
            if (::pipe(ends().data()) != 0) {
                return;
            }
            m_notifier = std::make_unique<QSocketNotifier>(ends()[0], QSocketNotifier::Read);
            QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] {
                char signal = 0;
                (void)!::read(ends()[0], &signal, 1);
                m_handlers.onQuit();
            });
            for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
                std::signal(signal, [](int) { (void)!::write(ends()[1], "s", 1); });
            }
        }

    private:
        static std::array<int, 2>& ends() {
            static std::array<int, 2> pipe{};
            return pipe;
        }

        Handlers m_handlers;
        std::unique_ptr<QSocketNotifier> m_notifier;
    };
};

} // namespace app
