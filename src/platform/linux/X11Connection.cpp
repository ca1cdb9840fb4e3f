#include "platform/linux/X11Connection.h"

#include <xcb/randr.h>
#include <xcb/shm.h>
#include <xcb/xcbext.h>

#include <cerrno>
#include <chrono>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

namespace platform::linux_desktop {

namespace {

using Clock = std::chrono::steady_clock;

/// Waits until the server has sent something or the connection is at its end; false when the time is over first.
bool awaitInput(int descriptor, Clock::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) {
            return false;
        }
        pollfd waiting{.fd = descriptor, .events = POLLIN, .revents = 0};
        const int ready = ::poll(&waiting, 1, static_cast<int>(left.count()));
        if (ready > 0 || (ready < 0 && errno != EINTR)) {
            return true;
        }
    }
}

const xcb_screen_t* screenOf(xcb_connection_t* connection, int number) {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    while (number > 0 && screens.rem > 1) {
        xcb_screen_next(&screens);
        --number;
    }
    return screens.rem > 0 ? screens.data : nullptr;
}

} // namespace

std::unique_ptr<X11Connection> X11Connection::open(X11Greeting::Connected connected, double replyLimitSeconds) {
    std::unique_ptr<X11Connection> made(new X11Connection(std::move(connected), replyLimitSeconds));
    if (made->isDead() || made->m_screen == nullptr) {
        return nullptr;
    }
    // xcb asks for an extension without a time limit on its first use. Here its answer comes before one that has a
    // limit.
    xcb_prefetch_extension_data(made->get(), &xcb_randr_id);
    xcb_prefetch_extension_data(made->get(), &xcb_shm_id);
    const auto answered = made->reply<xcb_get_input_focus_reply_t>(xcb_get_input_focus(made->get()));
    return answered ? std::move(made) : nullptr;
}

X11Connection::X11Connection(X11Greeting::Connected connected, double replyLimitSeconds)
    : m_connection(std::move(connected.connection))
    , m_replyLimit(replyLimitSeconds) {
    if (!isDead()) {
        m_screen = screenOf(get(), connected.screen);
    }
}

X11Connection::~X11Connection() = default;

std::expected<void*, X11Error> X11Connection::wait(unsigned int sequence) {
    const auto deadline =
        Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(m_replyLimit));
    xcb_flush(get());
    for (;;) {
        void* reply = nullptr;
        xcb_generic_error_t* raw = nullptr;
        if (xcb_poll_for_reply(get(), sequence, &reply, &raw) != 0) {
            const base::Owned<xcb_generic_error_t, std::free> error(raw);
            if (reply != nullptr) {
                return reply;
            }
            return std::unexpected(X11Error{.code = error ? error->error_code : std::uint8_t{0}});
        }
        if (isDead()) {
            return std::unexpected(X11Error{});
        }
        if (!awaitInput(xcb_get_file_descriptor(get()), deadline)) {
            interrupt();
        }
    }
}

void X11Connection::dropEvents() {
    while (const base::Owned<xcb_generic_event_t, std::free> event{xcb_poll_for_event(get())}) {
    }
}

bool X11Connection::has(xcb_extension_t& extension) {
    const auto* about = xcb_get_extension_data(get(), &extension);
    return about != nullptr && about->present != 0;
}

bool X11Connection::isDead() const {
    return xcb_connection_has_error(get()) != 0;
}

bool X11Connection::isLocal() const {
    int domain = 0;
    socklen_t length = sizeof domain;
    return ::getsockopt(xcb_get_file_descriptor(get()), SOL_SOCKET, SO_DOMAIN, &domain, &length) == 0 &&
           domain == AF_UNIX;
}

void X11Connection::interrupt() noexcept {
    ::shutdown(xcb_get_file_descriptor(get()), SHUT_RDWR);
}

} // namespace platform::linux_desktop
