// A connection to the X server that is being made. xcb waits for the server's greeting without a limit, so a thread of
// its own does: a server that is there but hangs holds up that thread and nobody else.
//   Threads  any
//   Owns     the connection until it is taken; one that comes when nobody waits any more is closed
#pragma once

#include "base/Handle.h"

#include <xcb/xcb.h>

#include <memory>
#include <optional>

namespace platform::linux_desktop {

class X11Greeting {
public:
    struct Connected {
        base::Owned<xcb_connection_t, xcb_disconnect> connection; ///< may be in error: no server was there
        int screen = 0;                                           ///< the number of the preferred one
    };

    /// Connects to $DISPLAY from now on.
    X11Greeting();
    X11Greeting(const X11Greeting&) = delete;
    X11Greeting& operator=(const X11Greeting&) = delete;
    ~X11Greeting(); ///< does not wait

    /// Takes the connection; nullopt when there is none within `seconds` or after cancel(). What was not there yet can
    /// be waited for again.
    [[nodiscard]] std::optional<Connected> wait(double seconds);
    /// For good: nobody waits any more.
    void cancel();

private:
    struct State;
    std::shared_ptr<State> m_state;
};

} // namespace platform::linux_desktop
