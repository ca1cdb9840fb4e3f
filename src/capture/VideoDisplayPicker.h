// Which screen shows the call: the one that holds the most of the largest window of a call.
//   Units    rectangles in any one coordinate system; `layer` 0 is the layer of ordinary windows
//   Threads  any; no state                     Errors  none: with no call to be seen the main display is the answer
#pragma once

#include <QString>

#include <cstdint>
#include <vector>

namespace capture {

struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    bool operator==(const Rect&) const = default;
};

struct PickerWindow {
    QString bundleID; ///< identifier of the application: window class or application id; empty if unknown
    QString title;
    Rect frame;
    int layer = 0;
    bool operator==(const PickerWindow&) const = default;
};

struct PickerDisplay {
    std::uint32_t id = 0;
    Rect frame;
    bool operator==(const PickerDisplay&) const = default;
};

namespace VideoDisplayPicker {

/// Both sides of a call window must reach this.
inline constexpr double minEdge = 300.0;

[[nodiscard]] bool isVideoWindow(const PickerWindow& window);
[[nodiscard]] std::uint32_t pick(const std::vector<PickerWindow>& windows, const std::vector<PickerDisplay>& displays,
                                 std::uint32_t main);

} // namespace VideoDisplayPicker
} // namespace capture
