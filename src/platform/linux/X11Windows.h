// The windows on an X server's screen, as its window manager lists them.
//   Threads  the connection's; the pure rules any
#pragma once

#include "capture/VideoDisplayPicker.h"
#include "platform/linux/X11Connection.h"

#include <QByteArray>
#include <QString>

#include <expected>
#include <vector>

namespace platform::linux_desktop::X11Windows {

/// More windows than this are not looked at: the list comes from another program, and each costs several requests.
inline constexpr std::uint32_t maxWindows = 1000;

/// Those that are shown, frontmost first. A window that vanishes meanwhile is left out; empty without a window manager.
[[nodiscard]] std::expected<std::vector<capture::PickerWindow>, X11Error> onScreen(X11Connection& connection);

/// The application id out of WM_CLASS, which is two texts, each ended by a zero byte: the second, the class; where it
/// is missing the first, the instance.
[[nodiscard]] QString applicationId(const QByteArray& wmClass);
/// A title as text: UTF-8, or Latin-1 where it is no UTF-8.
[[nodiscard]] QString titleText(const QByteArray& bytes);

} // namespace platform::linux_desktop::X11Windows
