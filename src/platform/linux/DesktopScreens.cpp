#include "platform/linux/DesktopScreens.h"

#include "copy/DesktopCopy.h"
#include "platform/linux/PortalScreens.h"
#include "platform/linux/QtScreens.h"
#include "platform/linux/X11Screens.h"

namespace platform::linux_desktop {

using namespace Qt::StringLiterals;

SessionKind sessionKind() {
    const bool wayland =
        !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") || qEnvironmentVariable("XDG_SESSION_TYPE") == u"wayland"_s;
    if (wayland) {
        return SessionKind::Wayland;
    }
    return qEnvironmentVariableIsEmpty("DISPLAY") ? SessionKind::None : SessionKind::X11;
}

std::unique_ptr<capture::ScreenSource> makeScreens(SessionKind kind, base::Dispatch& dispatch, DesktopBus& session) {
    switch (kind) {
    case SessionKind::X11:
        return std::make_unique<X11Screens>(dispatch);
    case SessionKind::Wayland:
        return std::make_unique<PortalScreens>(dispatch, session);
    case SessionKind::None:
        break;
    }
    return std::make_unique<QtScreens>(dispatch.main(), copy::DesktopCopy::current().noScreenCapture);
}

} // namespace platform::linux_desktop
