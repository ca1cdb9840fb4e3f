#include "capture/VideoDisplayPicker.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;
using capture::PickerDisplay;
using capture::PickerWindow;
using capture::Rect;
using capture::VideoDisplayPicker::isVideoWindow;
using capture::VideoDisplayPicker::minEdge;
using capture::VideoDisplayPicker::pick;

namespace {

constexpr Rect large{.x = 0, .y = 0, .width = 800, .height = 600};

PickerWindow window(const QString& application, const QString& title, Rect frame = large, int layer = 0) {
    return {.bundleID = application, .title = title, .frame = frame, .layer = layer};
}

PickerWindow call(Rect frame) {
    return window(u"us.zoom.xos"_s, u"Zoom Meeting"_s, frame);
}

const std::vector<PickerDisplay> twoDisplays = {
    {.id = 11, .frame = {.x = 0, .y = 0, .width = 1920, .height = 1080}},
    {.id = 22, .frame = {.x = 1920, .y = 0, .width = 1920, .height = 1080}},
};
constexpr std::uint32_t mainDisplay = 11;

} // namespace

TEST(VideoDisplayPicker, WindowsOutsideTheOrdinaryLayerAreNoCalls) {
    EXPECT_FALSE(isVideoWindow(window(u"com.apple.FaceTime"_s, u"Ann"_s, large, 3)));
    EXPECT_FALSE(isVideoWindow(window(u"com.apple.FaceTime"_s, u"Ann"_s, large, 1)));
    EXPECT_FALSE(isVideoWindow(window(u"com.apple.FaceTime"_s, u"Ann"_s, large, -1)));
    EXPECT_TRUE(isVideoWindow(window(u"com.apple.FaceTime"_s, u"Ann"_s, large, 0)));
}

TEST(VideoDisplayPicker, BothSidesMustReachTheLeastEdge) {
    const auto sized = [](double width, double height) { return call({.width = width, .height = height}); };
    EXPECT_FALSE(isVideoWindow(sized(299.9, 600)));
    EXPECT_TRUE(isVideoWindow(sized(300.0, 600)));
    EXPECT_FALSE(isVideoWindow(sized(600, std::nextafter(minEdge, 0.0))));
    EXPECT_TRUE(isVideoWindow(sized(minEdge, minEdge)));
    EXPECT_FALSE(isVideoWindow(sized(std::numeric_limits<double>::quiet_NaN(), 600)));
    EXPECT_FALSE(isVideoWindow(sized(-800, -600)));
}

TEST(VideoDisplayPicker, EveryOrdinaryWindowOfFaceTimeAndWebexIsACall) {
    for (const auto& application : {u"com.apple.FaceTime"_s, u"Cisco-Systems.Spark"_s, u"CiscoCollabHost"_s, u"webex"_s,
                                    u"Webex"_s, u"com.cisco.webex"_s, u"com.cisco.Webex"_s, u"webex_webex"_s}) {
        EXPECT_TRUE(isVideoWindow(window(application, {}))) << application.toStdString();
    }
    EXPECT_FALSE(isVideoWindow(window(u"com.apple.facetime"_s, {})));
}

TEST(VideoDisplayPicker, ZoomIsACallWhenItsTitleSaysSo) {
    for (const auto& title : {u"Zoom Meeting"_s, u"ZOOM MEETING 40 minutes"_s, u"our webinar"_s, u"週會議程"_s}) {
        EXPECT_TRUE(isVideoWindow(window(u"us.zoom.xos"_s, title))) << title.toStdString();
    }
}

TEST(VideoDisplayPicker, ZoomsHomeWindowIsNoCall) {
    EXPECT_FALSE(isVideoWindow(window(u"us.zoom.xos"_s, u"Zoom Workplace"_s)));
    EXPECT_FALSE(isVideoWindow(window(u"us.zoom.xos"_s, u"Meetin g"_s)));
    EXPECT_FALSE(isVideoWindow(window(u"us.zoom.xos"_s, {})));
}

TEST(VideoDisplayPicker, ZoomIsKnownByItsLinuxIdentifiers) {
    for (const auto& application :
         {u"zoom"_s, u"zoom "_s, u"Zoom"_s, u"us.zoom.Zoom"_s, u"zoom-client"_s, u"zoom-client_zoom-client"_s}) {
        EXPECT_TRUE(isVideoWindow(window(application, u"Zoom Meeting"_s))) << application.toStdString();
        EXPECT_FALSE(isVideoWindow(window(application, u"Settings"_s))) << application.toStdString();
    }
}

TEST(VideoDisplayPicker, TeamsPagesAreNoCallsWhateverFollows) {
    for (const auto& page : {u"Chat"_s, u"Calendar"_s, u"Activity"_s, u"Teams and Channels"_s, u"Calls"_s, u"聊天"_s,
                             u"行事曆"_s, u"活動"_s, u"通話"_s, u"團隊"_s}) {
        const QString title = page + u" | Meeting | Microsoft Teams"_s;
        EXPECT_FALSE(isVideoWindow(window(u"com.microsoft.teams2"_s, title))) << title.toStdString();
        EXPECT_FALSE(isVideoWindow(window(u"com.microsoft.teams2"_s, title.toUpper()))) << title.toStdString();
    }
    EXPECT_FALSE(isVideoWindow(window(u"com.microsoft.teams"_s, u"Chat | Ann | Microsoft Teams"_s)));
    EXPECT_FALSE(isVideoWindow(window(u"com.microsoft.teams"_s, u"Chatting in a Meeting"_s)));
}

TEST(VideoDisplayPicker, ATeamsWindowWithABarIsACall) {
    EXPECT_TRUE(isVideoWindow(window(u"com.microsoft.teams2"_s, u"Ann | Microsoft Teams"_s)));
    EXPECT_FALSE(isVideoWindow(window(u"com.microsoft.teams2"_s, u"Ann|Microsoft Teams"_s)));
    EXPECT_FALSE(isVideoWindow(window(u"com.microsoft.teams2"_s, u"Ann |Microsoft Teams"_s)));
}

TEST(VideoDisplayPicker, TheBarIsLookedForInTheWholeTitleNotInTheTrimmedOne) {
    EXPECT_TRUE(isVideoWindow(window(u"com.microsoft.teams2"_s, u"Ann | "_s)));
}

TEST(VideoDisplayPicker, ATeamsPageIsRecognisedBehindBlanks) {
    EXPECT_FALSE(isVideoWindow(window(u"com.microsoft.teams2"_s, u"  Calendar | Microsoft Teams"_s)));
    EXPECT_FALSE(isVideoWindow(window(u"com.microsoft.teams2"_s, u"\tcalendar | Microsoft Teams"_s)));
    EXPECT_TRUE(isVideoWindow(window(u"com.microsoft.teams2"_s, u"\nCalendar | Microsoft Teams"_s)))
        << "a line end is no blank";
}

TEST(VideoDisplayPicker, TeamsIsACallWhenAWordOfCallsStandsFurtherOn) {
    for (const auto& title : {u"Weekly meeting"_s, u"週會議程"_s, u"和 Ann 通話"_s, u"Video call"_s, u"recALLed"_s}) {
        EXPECT_TRUE(isVideoWindow(window(u"com.microsoft.teams2"_s, title))) << title.toStdString();
    }
    EXPECT_TRUE(isVideoWindow(window(u"com.microsoft.teams2"_s, u"Call with Ann"_s)));
    EXPECT_FALSE(isVideoWindow(window(u"com.microsoft.teams2"_s, u"Calls with Ann"_s)));
    EXPECT_FALSE(isVideoWindow(window(u"com.microsoft.teams2"_s, u"通話 Ann"_s)));
    EXPECT_FALSE(isVideoWindow(window(u"com.microsoft.teams2"_s, u"Microsoft Teams"_s)));
}

TEST(VideoDisplayPicker, TeamsIsKnownByItsLinuxIdentifiers) {
    for (const auto& application :
         {u"teams"_s, u"com.microsoft.Teams"_s, u"Microsoft Teams"_s, u"microsoft teams - preview"_s,
          u"Microsoft Teams - Preview"_s, u"teams-for-linux"_s, u"com.github.IsmaelMartinez.teams_for_linux"_s,
          u"teams-for-linux_teams-for-linux"_s}) {
        EXPECT_TRUE(isVideoWindow(window(application, u"Ann | Microsoft Teams"_s))) << application.toStdString();
        EXPECT_FALSE(isVideoWindow(window(application, u"Chat | Ann | Microsoft Teams"_s)))
            << application.toStdString();
    }
}

TEST(VideoDisplayPicker, SlackIsACallInAHuddle) {
    for (const auto& application :
         {u"com.tinyspeck.slackmacgap"_s, u"slack"_s, u"Slack"_s, u"com.slack.Slack"_s, u"slack_slack"_s}) {
        EXPECT_TRUE(isVideoWindow(window(application, u"HUDDLE: general"_s))) << application.toStdString();
        EXPECT_FALSE(isVideoWindow(window(application, u"general - Slack"_s))) << application.toStdString();
    }
}

TEST(VideoDisplayPicker, ABrowserIsACallWhenItsTitleNamesAServiceAsAWord) {
    for (const auto& title :
         {u"Zoom"_s, u"Google Meet - abc"_s, u"(2) Teams"_s, u"Webex_1"_s, u"會Meet議"_s, u"ÀZoom"_s}) {
        EXPECT_TRUE(isVideoWindow(window(u"com.google.Chrome"_s, title))) << title.toStdString();
    }
    for (const auto& title : {u"Meeting notes"_s, u"zoom"_s, u"MyTeams"_s, u"TeamsX"_s, u"WEBEX"_s, QString()}) {
        EXPECT_FALSE(isVideoWindow(window(u"com.google.Chrome"_s, title))) << title.toStdString();
    }
    EXPECT_TRUE(isVideoWindow(window(u"com.google.Chrome"_s, u"Meeting on Meet"_s)))
        << "a later word counts after one that does not";
}

TEST(VideoDisplayPicker, EveryBrowserIsKnownByAllItsIdentifiers) {
    for (const auto& application :
         {u"com.google.Chrome"_s, u"com.microsoft.edgemac"_s, u"com.apple.Safari"_s, u"company.thebrowser.Browser"_s,
          u"org.mozilla.firefox"_s, u"com.brave.Browser"_s, u"google-chrome"_s, u"Google-chrome"_s, u"microsoft-edge"_s,
          u"Microsoft-edge"_s, u"com.microsoft.Edge"_s, u"firefox"_s, u"Firefox"_s, u"firefox-esr"_s, u"Firefox-esr"_s,
          u"firefox_firefox"_s, u"brave-browser"_s, u"Brave-browser"_s, u"brave_brave"_s}) {
        EXPECT_TRUE(isVideoWindow(window(application, u"Meet"_s))) << application.toStdString();
        EXPECT_FALSE(isVideoWindow(window(application, u"News"_s))) << application.toStdString();
    }
}

TEST(VideoDisplayPicker, OtherApplicationsAreNoCallsWhateverTheirTitleSays) {
    for (const auto& application : {u"com.apple.finder"_s, u"org.chromium.Chromium"_s, u"Chromium"_s, u""_s}) {
        EXPECT_FALSE(isVideoWindow(window(application, u"Zoom Meeting | Meet huddle"_s))) << application.toStdString();
    }
}

TEST(VideoDisplayPicker, TheMainDisplayIsTheAnswerWithoutWindows) {
    EXPECT_EQ(pick({}, twoDisplays, 22), 22U);
    EXPECT_EQ(
        pick({window(u"us.zoom.xos"_s, u"Home"_s, {.x = 2000, .width = 800, .height = 600})}, twoDisplays, mainDisplay),
        mainDisplay)
        << "a window that is no call";
}

TEST(VideoDisplayPicker, TheMainDisplayIsTheAnswerWithoutDisplays) {
    EXPECT_EQ(pick({call(large)}, {}, 77), 77U);
}

TEST(VideoDisplayPicker, TheDisplayOfTheCallIsPicked) {
    EXPECT_EQ(pick({call({.x = 2000, .y = 10, .width = 800, .height = 600})}, twoDisplays, mainDisplay), 22U);
    EXPECT_EQ(pick({call({.x = 100, .y = 10, .width = 800, .height = 600})}, twoDisplays, 22), 11U);
}

TEST(VideoDisplayPicker, ACallOnTwoDisplaysGoesToTheLargerShare) {
    EXPECT_EQ(pick({call({.x = 1519, .width = 800, .height = 600})}, twoDisplays, mainDisplay), 11U);
    EXPECT_EQ(pick({call({.x = 1521, .width = 800, .height = 600})}, twoDisplays, mainDisplay), 22U);
}

TEST(VideoDisplayPicker, AtAnExactHalfTheEarlierDisplayWins) {
    const PickerWindow half = call({.x = 1520, .width = 800, .height = 600});
    EXPECT_EQ(pick({half}, twoDisplays, 99), 11U);
    EXPECT_EQ(pick({half}, {twoDisplays[1], twoDisplays[0]}, 99), 22U);
}

TEST(VideoDisplayPicker, TheLargestCallDecidesEvenAgainstTheMainDisplay) {
    const PickerWindow small = call({.x = 0, .width = 400, .height = 400});
    const PickerWindow wide = call({.x = 2000, .width = 400.5, .height = 400});
    EXPECT_EQ(pick({small, wide}, twoDisplays, mainDisplay), 22U);
    EXPECT_EQ(pick({wide, small}, twoDisplays, mainDisplay), 22U);
}

TEST(VideoDisplayPicker, OfEquallyLargeCallsTheFirstDecides) {
    const PickerWindow left = call({.x = 0, .width = 400, .height = 600});
    const PickerWindow right = call({.x = 2000, .width = 600, .height = 400});
    EXPECT_EQ(pick({left, right}, twoDisplays, 99), 11U);
    EXPECT_EQ(pick({right, left}, twoDisplays, 99), 22U);
}

TEST(VideoDisplayPicker, ALargerWindowThatIsNoCallDoesNotDecide) {
    const PickerWindow editor = window(u"org.gnome.gedit"_s, u"Meeting"_s, {.x = 0, .width = 1900, .height = 1000});
    EXPECT_EQ(pick({editor, call({.x = 2000, .width = 400, .height = 400})}, twoDisplays, mainDisplay), 22U);
}

TEST(VideoDisplayPicker, ACallOnNoDisplayLeavesTheMainDisplay) {
    EXPECT_EQ(pick({call({.x = 3840, .width = 800, .height = 600})}, twoDisplays, 22), 22U) << "touching is no overlap";
    EXPECT_EQ(pick({call({.x = -5000, .y = -5000, .width = 800, .height = 600})}, twoDisplays, 22), 22U);
    EXPECT_EQ(pick({call(large)}, {{.id = 5, .frame = {}}}, 9), 9U) << "an empty display never wins";
}
