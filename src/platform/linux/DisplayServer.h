// Whether there is a desktop to show windows on, asked before the toolkit is: it would end the program instead.
//   Threads  any, before the application object is made
#pragma once

#include <QString>

#include <optional>

namespace platform::linux_desktop {

/// Whether this session has a screen that can be looked at.
[[nodiscard]] bool hasDesktop();
/// What to tell on standard error, with its line end, when no window could be shown here; nullopt when one can. Asking
/// for a toolkit platform without a display, as in QT_QPA_PLATFORM=offscreen, is no problem.
[[nodiscard]] std::optional<QString> displayProblem();

} // namespace platform::linux_desktop
