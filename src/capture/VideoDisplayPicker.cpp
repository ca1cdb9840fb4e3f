#include "capture/VideoDisplayPicker.h"

#include "base/Text.h"

#include <QRegularExpression>
#include <QStringView>

#include <algorithm>
#include <array>

namespace capture::VideoDisplayPicker {

namespace {

// What the titles of Teams' own pages begin with.
constexpr auto teamsPages = std::to_array<QStringView>({u"Chat", u"Calendar", u"Activity", u"Teams and Channels",
                                                        u"Calls", u"聊天", u"行事曆", u"活動", u"通話", u"團隊"});
constexpr auto teamsCallWords = std::to_array<QStringView>({u"Meeting", u"會議", u"通話", u"Call"});
constexpr auto zoomCallWords = std::to_array<QStringView>({u"Meeting", u"Webinar", u"會議"});

template<std::size_t count>
bool isOneOf(const QString& id, const std::array<QLatin1StringView, count>& known) {
    return std::ranges::find(known, id) != known.end();
}

template<std::size_t count>
bool containsAny(const QString& title, const std::array<QStringView, count>& words) {
    return std::ranges::any_of(words, [&](QStringView word) { return title.contains(word, Qt::CaseInsensitive); });
}

bool isTeamsCall(const QString& title) {
    const QString trimmed = base::Text::trimmedBlanks(title);
    const auto beginsTitle = [&](QStringView word) { return trimmed.startsWith(word, Qt::CaseInsensitive); };
    if (std::ranges::any_of(teamsPages, beginsTitle)) {
        return false;
    }
    return containsAny(title, teamsCallWords) || title.contains(QStringView(u" | "));
}

bool namesCallService(const QString& title) {
    static const QRegularExpression pattern{QString(browserTitle)};
    return pattern.isValid() && pattern.match(title).hasMatch();
}

double area(const Rect& rect) noexcept {
    return rect.width > 0 && rect.height > 0 ? rect.width * rect.height : 0.0;
}

double sharedArea(const Rect& a, const Rect& b) noexcept {
    const double left = std::max(a.x, b.x);
    const double top = std::max(a.y, b.y);
    const double right = std::min(a.x + a.width, b.x + b.width);
    const double bottom = std::min(a.y + a.height, b.y + b.height);
    return area({.x = left, .y = top, .width = right - left, .height = bottom - top});
}

} // namespace

bool isVideoWindow(const PickerWindow& window) {
    if (window.layer != 0) {
        return false;
    }
    if (!(window.frame.width >= minEdge && window.frame.height >= minEdge)) {
        return false;
    }
    if (isOneOf(window.bundleID, alwaysCall)) {
        return true;
    }
    if (isOneOf(window.bundleID, zoom)) {
        return containsAny(window.title, zoomCallWords);
    }
    if (isOneOf(window.bundleID, teams)) {
        return isTeamsCall(window.title);
    }
    if (isOneOf(window.bundleID, slack)) {
        return window.title.contains(QStringView(u"huddle"), Qt::CaseInsensitive);
    }
    return isOneOf(window.bundleID, browsers) && namesCallService(window.title);
}

std::uint32_t pick(const std::vector<PickerWindow>& windows, const std::vector<PickerDisplay>& displays,
                   std::uint32_t main) {
    const PickerWindow* call = nullptr;
    for (const PickerWindow& window : windows) {
        if (isVideoWindow(window) && (call == nullptr || area(window.frame) > area(call->frame))) {
            call = &window;
        }
    }
    if (call == nullptr) {
        return main;
    }
    std::uint32_t best = main;
    double bestArea = 0;
    for (const PickerDisplay& display : displays) {
        const double shared = sharedArea(display.frame, call->frame);
        if (shared > bestArea) {
            best = display.id;
            bestArea = shared;
        }
    }
    return best;
}

} // namespace capture::VideoDisplayPicker
