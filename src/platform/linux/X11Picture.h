// A picture of a part of an X server's screen.
//   Threads  the connection's
#pragma once

#include "capture/VideoDisplayPicker.h"
#include "platform/linux/X11Connection.h"

#include <QImage>
#include <QRect>

#include <expected>

namespace platform::linux_desktop::X11Picture {

enum class Failure {
    Gone,       ///< the part is not, or no longer, within the screen
    Unreadable, ///< its pixels are laid out in a way that is not understood
    Lost,       ///< the server does not answer
};

/// What the screen shows within `part`, without the pointer, in the format that the server keeps it in. Where server
/// and program share memory the picture is that memory: it is copied once, by the server.
[[nodiscard]] std::expected<QImage, Failure> grab(X11Connection& connection, const QRect& part);

} // namespace platform::linux_desktop::X11Picture
