#include "platform/linux/X11Greeting.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <pthread.h>
#include <thread>
#include <utility>

namespace platform::linux_desktop {

struct X11Greeting::State {
    std::mutex mutex;
    std::condition_variable changed;
    std::optional<Connected> connected; // guarded by mutex
    bool cancelled = false;             // guarded by mutex
};

X11Greeting::X11Greeting() : m_state(std::make_shared<State>()) {
    std::thread([state = m_state] {
        pthread_setname_np(pthread_self(), "x.greeting");
        Connected made;
        made.connection.reset(xcb_connect(nullptr, &made.screen));
        const std::lock_guard lock(state->mutex);
        state->connected = std::move(made);
        state->changed.notify_all();
    }).detach();
}

X11Greeting::~X11Greeting() = default;

std::optional<X11Greeting::Connected> X11Greeting::wait(double seconds) {
    std::unique_lock lock(m_state->mutex);
    m_state->changed.wait_for(lock, std::chrono::duration<double>(seconds),
                              [this] { return m_state->connected || m_state->cancelled; });
    return m_state->cancelled ? std::nullopt : std::exchange(m_state->connected, std::nullopt);
}

void X11Greeting::cancel() {
    const std::lock_guard lock(m_state->mutex);
    m_state->cancelled = true;
    m_state->changed.notify_all();
}

} // namespace platform::linux_desktop
