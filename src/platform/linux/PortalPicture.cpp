#include "platform/linux/PortalPicture.h"

#include <QRectF>

namespace platform::linux_desktop::PortalPicture {

namespace {

QRectF rectOf(const capture::Rect& frame) {
    return {frame.x, frame.y, frame.width, frame.height};
}

} // namespace

QRect partOf(QSize picture, const std::vector<capture::Display>& screens, const capture::Rect& frame) {
    QRectF all;
    for (const capture::Display& screen : screens) {
        all |= rectOf(screen.frame);
    }
    if (all.isEmpty()) {
        return {};
    }
    const double across = picture.width() / all.width();
    const double down = picture.height() / all.height();
    const QRectF part((frame.x - all.x()) * across, (frame.y - all.y()) * down, frame.width * across,
                      frame.height * down);
    return part.toRect() & QRect(QPoint(0, 0), picture);
}

} // namespace platform::linux_desktop::PortalPicture
