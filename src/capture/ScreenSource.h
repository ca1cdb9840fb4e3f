// Screens, windows and still pictures of the desktop, as narrow as the recorder needs them.
//   Units    rectangles in the desktop's global coordinates; picture sizes in pixels
//   Threads  every operation returns at once and may be called from any thread; replies come on any thread, once
//   Errors   a reply carries the platform's text
#pragma once

#include "capture/VideoDisplayPicker.h"

#include <QImage>
#include <QString>

#include <cstdint>
#include <expected>
#include <functional>
#include <vector>

namespace capture {

struct Display {
    std::uint32_t id = 0;
    Rect frame;
    int pixelWidth = 0; ///< of the current mode; 0 when unknown
    int pixelHeight = 0;
    bool operator==(const Display&) const = default;
};

struct ScreenContent {
    std::vector<Display> displays;
    std::vector<PickerWindow> windows; ///< those on screen, frontmost first
    std::uint32_t mainDisplay = 0;
};

class ScreenSource {
public:
    using ContentReply = std::function<void(std::expected<ScreenContent, QString>)>;
    using PictureReply = std::function<void(std::expected<QImage, QString>)>;

    virtual ~ScreenSource() = default;
    virtual void content(ContentReply reply) = 0;
    /// One picture of the display, without the pointer, fitted into width x height.
    virtual void picture(const Display& display, int width, int height, PictureReply reply) = 0;
};

} // namespace capture
