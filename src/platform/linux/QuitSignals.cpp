#include "platform/linux/QuitSignals.h"

#include <QSocketNotifier>

#include <array>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace platform::linux_desktop {

namespace {

constexpr std::array quitSignals = {SIGTERM, SIGINT, SIGHUP};

/// Where the signal handler writes; -1: nowhere.
std::atomic<int> wakeDescriptor = -1;
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler must not wait");

/// Only what a signal handler may do. A full pipe has told already.
void wake(int /*signal*/) {
    const int before = errno;
    const char byte = 0;
    [[maybe_unused]] const auto written = ::write(wakeDescriptor.load(), &byte, sizeof byte);
    errno = before;
}

bool isIgnored(int signal) {
    struct sigaction now{};
    return ::sigaction(signal, nullptr, &now) == 0 && now.sa_handler == SIG_IGN;
}

} // namespace

QuitSignals::QuitSignals(std::function<void()> onQuit) : m_onQuit(std::move(onQuit)) {
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return; // the signals then end the program in their own way
    }
    m_reading = base::FileDescriptor(ends[0]);
    m_writing = base::FileDescriptor(ends[1]);
    wakeDescriptor = m_writing.get();
    m_notifier = std::make_unique<QSocketNotifier>(m_reading.get(), QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] { take(); });
    struct sigaction action{};
    action.sa_handler = wake;
    action.sa_flags = SA_RESTART;
    ::sigemptyset(&action.sa_mask);
    for (const int signal : quitSignals) {
        struct sigaction before{};
        if (!isIgnored(signal) && ::sigaction(signal, &action, &before) == 0) {
            m_before.emplace_back(signal, before);
        }
    }
}

QuitSignals::~QuitSignals() {
    for (const auto& [signal, before] : m_before) {
        ::sigaction(signal, &before, nullptr);
    }
    wakeDescriptor = -1;
}

void QuitSignals::take() {
    std::array<char, 64> bytes{};
    while (::read(m_reading.get(), bytes.data(), bytes.size()) > 0) {
    }
    if (const auto onQuit = m_onQuit) { // a copy, since it may end this
        onQuit();
    }
}

} // namespace platform::linux_desktop
