// The part of a desktop portal's screenshot that shows one screen. The portal photographs all screens together.
//   Units    frames in the desktop's global coordinates, pictures in pixels; the two may differ by a factor
//   Threads  any; no state
#pragma once

#include "capture/ScreenSource.h"

#include <QRect>
#include <QSize>

#include <vector>

namespace platform::linux_desktop::PortalPicture {

/// Where `frame` lies in a picture of that size of all `screens`; empty when it lies on none of it.
[[nodiscard]] QRect partOf(QSize picture, const std::vector<capture::Display>& screens, const capture::Rect& frame);

} // namespace platform::linux_desktop::PortalPicture
