// The thread on which everything of the sound server happens. One for the program; it begins with the first use and
// sleeps without any wake-up while nothing is open.
//   Threads  any. Callbacks of the sound library run on the loop's thread with the lock held: copy and return
//   Owns     must outlive every connection
#pragma once

#include <mutex>

struct pa_threaded_mainloop;

namespace platform::linux_desktop {

class PulseLoop {
public:
    PulseLoop();
    ~PulseLoop();
    PulseLoop(const PulseLoop&) = delete;
    PulseLoop& operator=(const PulseLoop&) = delete;

    /// Keeps the loop's thread out; may be nested, and does nothing on that thread itself.
    class Lock {
    public:
        explicit Lock(PulseLoop& loop);
        ~Lock();
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        pa_threaded_mainloop* m_locked;
    };

    /// Waits, with the lock held exactly once and not on the loop's thread, until signal() was called.
    void wait();
    void signal();

    /// Starts the thread if it does not run yet. Null where no thread can be made.
    [[nodiscard]] pa_threaded_mainloop* mainloop();

private:
    std::once_flag m_begun;
    pa_threaded_mainloop* m_mainloop;
    bool m_running = false;
};

} // namespace platform::linux_desktop
