// SIGTERM, SIGINT and SIGHUP as calls on the main thread.
//   Threads  the main thread, which runs a Qt event loop; one of these at a time
//   Signals  a signal that was ignored when the program started (nohup) stays ignored; the others get back what they
//            did before when this ends
#pragma once

#include "base/Handle.h"

#include <csignal>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

class QSocketNotifier;

namespace platform::linux_desktop {

class QuitSignals {
public:
    explicit QuitSignals(std::function<void()> onQuit);
    QuitSignals(const QuitSignals&) = delete;
    QuitSignals& operator=(const QuitSignals&) = delete;
    ~QuitSignals();

private:
    void take();

    std::function<void()> m_onQuit;
    base::FileDescriptor m_reading;
    base::FileDescriptor m_writing;
    std::vector<std::pair<int, struct sigaction>> m_before;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace platform::linux_desktop
