// Which screen shows the call: the one that holds the most of the largest window of a call.
//   Units    rectangles in any one coordinate system; `layer` 0 is the layer of ordinary windows
//   Threads  any; no state                     Errors  none: with no call to be seen the main display is the answer
#pragma once

#include <QLatin1StringView>
#include <QString>

#include <array>
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

// The applications, under every identifier their windows are known by: bundle identifiers, X11 window classes as the
// native packages set them, and the ids of Flatpak and Snap. They are compared letter for letter. Chromium and its
// kin are not among the browsers: they are applications of their own, not another packaging of Chrome.

/// Every ordinary window of these counts as a call.
inline constexpr auto alwaysCall = std::to_array<QLatin1StringView>({
    QLatin1StringView("Cisco-Systems.Spark"),
    QLatin1StringView("com.apple.FaceTime"),
    QLatin1StringView("CiscoCollabHost"),
    QLatin1StringView("webex"),
    QLatin1StringView("Webex"),
    QLatin1StringView("com.cisco.webex"),
    QLatin1StringView("com.cisco.Webex"),
    QLatin1StringView("webex_webex"),
});

/// The Linux client of Zoom has set its class with a blank at the end in some versions.
inline constexpr auto zoom = std::to_array<QLatin1StringView>({
    QLatin1StringView("us.zoom.xos"),
    QLatin1StringView("zoom"),
    QLatin1StringView("zoom "),
    QLatin1StringView("Zoom"),
    QLatin1StringView("us.zoom.Zoom"),
    QLatin1StringView("zoom-client"),
    QLatin1StringView("zoom-client_zoom-client"),
});

inline constexpr auto teams = std::to_array<QLatin1StringView>({
    QLatin1StringView("com.microsoft.teams2"),
    QLatin1StringView("com.microsoft.teams"),
    QLatin1StringView("com.microsoft.Teams"),
    QLatin1StringView("Microsoft Teams"),
    QLatin1StringView("microsoft teams - preview"),
    QLatin1StringView("Microsoft Teams - Preview"),
    QLatin1StringView("teams"),
    QLatin1StringView("teams-for-linux"),
    QLatin1StringView("com.github.IsmaelMartinez.teams_for_linux"),
    QLatin1StringView("teams-for-linux_teams-for-linux"),
});

inline constexpr auto slack = std::to_array<QLatin1StringView>({
    QLatin1StringView("com.tinyspeck.slackmacgap"),
    QLatin1StringView("slack"),
    QLatin1StringView("Slack"),
    QLatin1StringView("com.slack.Slack"),
    QLatin1StringView("slack_slack"),
});

inline constexpr auto browsers = std::to_array<QLatin1StringView>({
    QLatin1StringView("com.google.Chrome"),
    QLatin1StringView("com.microsoft.edgemac"),
    QLatin1StringView("com.apple.Safari"),
    QLatin1StringView("company.thebrowser.Browser"),
    QLatin1StringView("org.mozilla.firefox"),
    QLatin1StringView("com.brave.Browser"),
    QLatin1StringView("google-chrome"),
    QLatin1StringView("Google-chrome"),
    QLatin1StringView("microsoft-edge"),
    QLatin1StringView("Microsoft-edge"),
    QLatin1StringView("com.microsoft.Edge"),
    QLatin1StringView("firefox"),
    QLatin1StringView("Firefox"),
    QLatin1StringView("firefox-esr"),
    QLatin1StringView("Firefox-esr"),
    QLatin1StringView("firefox_firefox"),
    QLatin1StringView("brave-browser"),
    QLatin1StringView("Brave-browser"),
    QLatin1StringView("brave_brave"),
});

/// Names of call services in a browser's title, each as a whole word; case matters.
inline constexpr QLatin1StringView browserTitle("(?<![A-Za-z])(Meet|Teams|Zoom|Webex)(?![A-Za-z])");

[[nodiscard]] bool isVideoWindow(const PickerWindow& window);
/// The id of the display with the largest share of the largest call window. At equal areas the earlier one in its
/// list wins; `main` when no window is a call, or the call is on none of `displays`.
[[nodiscard]] std::uint32_t pick(const std::vector<PickerWindow>& windows, const std::vector<PickerDisplay>& displays,
                                 std::uint32_t main);

} // namespace VideoDisplayPicker
} // namespace capture
