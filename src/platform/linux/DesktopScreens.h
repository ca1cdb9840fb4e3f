// Which way to the screens this session offers.
#pragma once

#include "base/Dispatch.h"
#include "capture/ScreenSource.h"
#include "platform/linux/DesktopBus.h"

#include <memory>

namespace platform::linux_desktop {

enum class SessionKind {
    X11,
    Wayland, ///< also with an X server beside it, which sees only the windows of old programs
    None,
};

/// From $WAYLAND_DISPLAY, $XDG_SESSION_TYPE and $DISPLAY.
[[nodiscard]] SessionKind sessionKind();

/// Call it on the main thread. `dispatch` and `session` outlive what is returned.
[[nodiscard]] std::unique_ptr<capture::ScreenSource> makeScreens(SessionKind kind, base::Dispatch& dispatch,
                                                                 DesktopBus& session);

} // namespace platform::linux_desktop
