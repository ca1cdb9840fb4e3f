// Which way to the screens this session offers.
#pragma once

#include "base/Dispatch.h"
#include "capture/ScreenSource.h"

#include <memory>

namespace platform::linux_desktop {

enum class SessionKind {
    X11,
    Wayland, ///< also with an X server beside it, which sees only the windows of old programs
    None,
};

/// From $WAYLAND_DISPLAY, $XDG_SESSION_TYPE and $DISPLAY.
[[nodiscard]] SessionKind sessionKind();

/// `dispatch` outlives what is returned.
[[nodiscard]] std::unique_ptr<capture::ScreenSource> makeScreens(SessionKind kind, base::Dispatch& dispatch);

} // namespace platform::linux_desktop
