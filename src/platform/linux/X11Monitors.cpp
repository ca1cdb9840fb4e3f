#include "platform/linux/X11Monitors.h"

#include <xcb/randr.h>

#include <algorithm>

namespace platform::linux_desktop {

namespace {

/// Below every atom of a name, those being above the predefined ones.
constexpr std::uint32_t wholeScreenId = 1;

bool listsMonitors(X11Connection& connection) {
    if (!connection.has(xcb_randr_id)) {
        return false;
    }
    const auto version =
        connection.reply<xcb_randr_query_version_reply_t>(xcb_randr_query_version(connection.get(), 1, 5));
    return version && ((*version)->major_version > 1 || (*version)->minor_version >= 5);
}

capture::Display displayOf(std::uint32_t id, double x, double y, std::uint16_t width, std::uint16_t height) {
    return {
        .id = id,
        .frame = {.x = x, .y = y, .width = static_cast<double>(width), .height = static_cast<double>(height)},
        .pixelWidth = width,
        .pixelHeight = height,
    };
}

/// The screen as it is now: what the server told at the start may have been resized since.
std::expected<X11Monitors, X11Error> wholeScreen(X11Connection& connection) {
    const auto root =
        connection.reply<xcb_get_geometry_reply_t>(xcb_get_geometry(connection.get(), connection.screen().root));
    if (!root) {
        return std::unexpected(root.error());
    }
    return X11Monitors{.displays = {displayOf(wholeScreenId, 0, 0, (*root)->width, (*root)->height)},
                       .main = wholeScreenId};
}

} // namespace

const capture::Display* X11Monitors::find(std::uint32_t id) const {
    const auto found = std::ranges::find(displays, id, &capture::Display::id);
    return found == displays.end() ? nullptr : &*found;
}

std::expected<X11Monitors, X11Error> X11Monitors::list(X11Connection& connection) {
    if (!listsMonitors(connection)) {
        return wholeScreen(connection);
    }
    constexpr std::uint8_t activeOnes = 1;
    const auto reply = connection.reply<xcb_randr_get_monitors_reply_t>(
        xcb_randr_get_monitors(connection.get(), connection.screen().root, activeOnes));
    if (!reply) {
        return std::unexpected(reply.error());
    }
    X11Monitors found;
    for (auto monitors = xcb_randr_get_monitors_monitors_iterator(reply->get()); monitors.rem > 0;
         xcb_randr_monitor_info_next(&monitors)) {
        const xcb_randr_monitor_info_t& monitor = *monitors.data;
        found.displays.push_back(displayOf(monitor.name, monitor.x, monitor.y, monitor.width, monitor.height));
        if (monitor.primary != 0 || found.main == 0) {
            found.main = monitor.name;
        }
    }
    return found;
}

} // namespace platform::linux_desktop
