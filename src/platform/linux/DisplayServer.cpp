#include "platform/linux/DisplayServer.h"

#include "base/Handle.h"
#include "copy/DesktopCopy.h"

#include <xcb/xcb.h>

#include <filesystem>
#include <sys/socket.h>
#include <sys/un.h>

namespace platform::linux_desktop {

using namespace Qt::StringLiterals;

namespace {

bool isSet(const char* variable) {
    return !qEnvironmentVariableIsEmpty(variable);
}

bool xServerAnswers() {
    const base::Owned<xcb_connection_t, xcb_disconnect> connection(xcb_connect(nullptr, nullptr));
    return xcb_connection_has_error(connection.get()) == 0;
}

bool compositorAnswers() {
    if (isSet("WAYLAND_SOCKET")) {
        return true; // a connection that is already made
    }
    const std::filesystem::path name = qgetenv("WAYLAND_DISPLAY").toStdString();
    const std::filesystem::path path =
        name.is_absolute() ? name : std::filesystem::path(qgetenv("XDG_RUNTIME_DIR").toStdString()) / name;
    const base::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string text = path.string();
    if (!socket || text.size() >= sizeof address.sun_path) {
        return false;
    }
    text.copy(address.sun_path, text.size());
    return ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

} // namespace

bool hasDesktop() {
    return isSet("DISPLAY") || isSet("WAYLAND_DISPLAY") || isSet("WAYLAND_SOCKET");
}

std::optional<QString> displayProblem() {
    if (isSet("QT_QPA_PLATFORM")) {
        return std::nullopt; // somebody chose, and the toolkit says itself what it lacks
    }
    if ((isSet("DISPLAY") && xServerAnswers()) ||
        ((isSet("WAYLAND_DISPLAY") || isSet("WAYLAND_SOCKET")) && compositorAnswers())) {
        return std::nullopt;
    }
    return copy::DesktopCopy::current().noDisplayServer + u'\n';
}

} // namespace platform::linux_desktop
