// A connection to the X server that never waits for long: each reply has a time limit, and another thread can end it.
//   Threads  one thread at a time; interrupt() any
//   Idle     no event is selected, so nothing comes in between two requests
//   Errors   a server that is gone or silent makes the connection dead for good; open a new one
#pragma once

#include "base/Handle.h"
#include "platform/linux/X11Greeting.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <expected>
#include <memory>

namespace platform::linux_desktop {

/// Why a request has no reply.
struct X11Error {
    /// The server's error code; 0: the connection is dead.
    std::uint8_t code = 0;
    bool operator==(const X11Error&) const = default;
};

template<typename Reply>
using X11Reply = std::expected<base::Owned<Reply, std::free>, X11Error>;

class X11Connection {
public:
    /// Over what a greeting has brought; nullptr when no server answers there. A reply that takes longer than
    /// `replyLimitSeconds` ends the connection.
    [[nodiscard]] static std::unique_ptr<X11Connection> open(X11Greeting::Connected connected,
                                                             double replyLimitSeconds);
    X11Connection(const X11Connection&) = delete;
    X11Connection& operator=(const X11Connection&) = delete;
    ~X11Connection();

    [[nodiscard]] xcb_connection_t* get() const noexcept { return m_connection.get(); }

    [[nodiscard]] const xcb_screen_t& screen() const noexcept { return *m_screen; }

    /// The reply to a request of xcb. One thread's requests may wait in any number before the first reply is taken.
    template<typename Reply, typename Cookie>
    [[nodiscard]] X11Reply<Reply> reply(Cookie cookie) {
        auto taken = wait(cookie.sequence);
        if (!taken) {
            return std::unexpected(taken.error());
        }
        return base::Owned<Reply, std::free>(static_cast<Reply*>(*taken));
    }

    /// Forgets the errors of requests that have no reply.
    void dropEvents();

    [[nodiscard]] bool has(xcb_extension_t& extension);
    [[nodiscard]] bool isDead() const;
    /// Whether the server can be handed file descriptors.
    [[nodiscard]] bool isLocal() const;
    /// Ends the connection: a reply that is being waited for is an error at once. The object stays to be destroyed.
    void interrupt() noexcept;

private:
    X11Connection(X11Greeting::Connected connected, double replyLimitSeconds);
    [[nodiscard]] std::expected<void*, X11Error> wait(unsigned int sequence);

    base::Owned<xcb_connection_t, xcb_disconnect> m_connection;
    const xcb_screen_t* m_screen = nullptr;
    double m_replyLimit;
};

} // namespace platform::linux_desktop
