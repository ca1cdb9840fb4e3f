// Screens, windows and still pictures of the desktop, as narrow as the recorder needs them.
//   Units    rectangles in the desktop's global coordinates; picture sizes in pixels
//   Threads  every operation returns at once and may be called from any thread; a reply comes on any thread, once,
//            also inside the call
//   Owns     the replies until they were called; a source that ends drops those it still owes
//   Errors   a reply carries the platform's text for the user
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
    std::uint32_t id = 0; ///< the same for as long as the display is plugged in
    Rect frame;
    int pixelWidth = 0; ///< of the current mode; 0 when unknown
    int pixelHeight = 0;
    bool operator==(const Display&) const = default;
};

struct ScreenContent {
    std::vector<Display> displays;
    std::vector<PickerWindow> windows; ///< those on screen, frontmost first
    std::uint32_t mainDisplay = 0;
    bool operator==(const ScreenContent&) const = default;
};

class ScreenSource {
public:
    using ContentReply = std::function<void(std::expected<ScreenContent, QString>)>;
    using PictureReply = std::function<void(std::expected<QImage, QString>)>;

    ScreenSource() = default;
    ScreenSource(const ScreenSource&) = delete;
    ScreenSource& operator=(const ScreenSource&) = delete;
    virtual ~ScreenSource() = default;
    virtual void content(ContentReply reply) = 0;
    /// One picture of the display as it stands now, without the pointer, scaled to width x height.
    virtual void picture(const Display& display, int width, int height, PictureReply reply) = 0;
};

} // namespace capture
