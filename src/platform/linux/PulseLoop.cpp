#include "platform/linux/PulseLoop.h"

#include <pulse/thread-mainloop.h>

namespace platform::linux_desktop {

PulseLoop::PulseLoop() : m_mainloop(pa_threaded_mainloop_new()) {
    if (m_mainloop) {
        pa_threaded_mainloop_set_name(m_mainloop, "sound");
    }
}

PulseLoop::~PulseLoop() {
    if (!m_mainloop) {
        return;
    }
    if (m_running) {
        pa_threaded_mainloop_stop(m_mainloop);
    }
    pa_threaded_mainloop_free(m_mainloop);
}

pa_threaded_mainloop* PulseLoop::mainloop() {
    std::call_once(m_begun, [this] { m_running = m_mainloop && pa_threaded_mainloop_start(m_mainloop) >= 0; });
    return m_running ? m_mainloop : nullptr;
}

PulseLoop::Lock::Lock(PulseLoop& loop) : m_locked(loop.mainloop()) {
    if (m_locked && pa_threaded_mainloop_in_thread(m_locked)) {
        m_locked = nullptr;
    }
    if (m_locked) {
        pa_threaded_mainloop_lock(m_locked);
    }
}

PulseLoop::Lock::~Lock() {
    if (m_locked) {
        pa_threaded_mainloop_unlock(m_locked);
    }
}

void PulseLoop::wait() {
    pa_threaded_mainloop_wait(m_mainloop);
}

void PulseLoop::signal() {
    pa_threaded_mainloop_signal(m_mainloop, 0);
}

} // namespace platform::linux_desktop
