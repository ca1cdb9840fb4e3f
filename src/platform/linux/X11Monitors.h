// The monitors of an X server. With RandR 1.5 each is known by the atom of its name, which stays the same for as long
// as the server runs, whatever is plugged in meanwhile; without it the whole screen counts as one monitor.
//   Threads  the connection's
#pragma once

#include "capture/ScreenSource.h"
#include "platform/linux/X11Connection.h"

#include <cstdint>
#include <expected>
#include <vector>

namespace platform::linux_desktop {

struct X11Monitors {
    std::vector<capture::Display> displays;
    std::uint32_t main = 0; ///< the primary one, else the first; 0 without any

    [[nodiscard]] const capture::Display* find(std::uint32_t id) const;

    [[nodiscard]] static std::expected<X11Monitors, X11Error> list(X11Connection& connection);
};

} // namespace platform::linux_desktop
