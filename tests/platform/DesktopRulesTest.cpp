#include "base/Files.h"
#include "fakes/ManualScheduler.h"
#include "fakes/TemporaryFolder.h"
#include "platform/linux/DesktopOpener.h"
#include "platform/linux/DesktopScreens.h"
#include "platform/linux/PortalPicture.h"
#include "platform/linux/QtScreens.h"
#include "ui/Permissions.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace platform::linux_desktop;

namespace {

const QString microphonePane = ui::Permissions::microphonePane.toString();
const QString screenPane = ui::Permissions::screenCapturePane.toString();

class DesktopOpenerTest : public testing::Test {
protected:
    fakes::ManualDispatch dispatch;
    DesktopBus session{DesktopBus::Kind::Session, dispatch};
    std::vector<std::vector<Command>> started;
    bool canStart = true;
    DesktopOpener opener{session, dispatch.main(), [this](const std::vector<Command>& commands) {
                             started.push_back(commands);
                             return canStart && !commands.empty();
                         }};
};

/// The variables that tell the kind of session, as they were before the test.
class SessionKindTest : public testing::Test {
protected:
    std::array<const char*, 3> names{"WAYLAND_DISPLAY", "XDG_SESSION_TYPE", "DISPLAY"};
    std::array<QByteArray, 3> before;

    void SetUp() override {
        for (std::size_t index = 0; index < names.size(); ++index) {
            before[index] = qgetenv(names[index]);
            qunsetenv(names[index]);
        }
    }

    void TearDown() override {
        for (std::size_t index = 0; index < names.size(); ++index) {
            qputenv(names[index], before[index]);
        }
    }
};

} // namespace

TEST_F(DesktopOpenerTest, AnAddressIsOpenedByTheDesktopsOpener) {
    opener.openURL(u"https://example.org/a?b=c"_s);
    ASSERT_EQ(started.size(), 1U);
    EXPECT_EQ(started.front().front(), (Command{u"xdg-open"_s, u"https://example.org/a?b=c"_s}));
    EXPECT_EQ(started.front().back(), (Command{u"gio"_s, u"open"_s, u"https://example.org/a?b=c"_s}));
}

TEST_F(DesktopOpenerTest, ATextThatIsNoAddressDoesNothing) {
    for (const auto& text : {u""_s, u"no address"_s, u"relative/path"_s, u"--help"_s, u"http://[broken"_s}) {
        opener.openURL(text);
    }
    EXPECT_TRUE(started.empty());
}

TEST_F(DesktopOpenerTest, APaneThatNoProgramShowsIsToldSo) {
    EXPECT_TRUE(opener.openPane(microphonePane));
    canStart = false;
    EXPECT_FALSE(opener.openPane(microphonePane));
    canStart = true;
    EXPECT_FALSE(opener.openPane(u"x-apple.systempreferences:other"_s));
}

TEST(DesktopOpener, EachDesktopShowsTheSoundSettingsInItsOwnWay) {
    const auto first = [](const QString& desktop) {
        return DesktopOpener::commandsForPane(microphonePane, desktop).front();
    };
    EXPECT_EQ(first(u"GNOME"_s), (Command{u"gnome-control-center"_s, u"sound"_s}));
    EXPECT_EQ(first(u"ubuntu:GNOME"_s), (Command{u"gnome-control-center"_s, u"sound"_s}));
    EXPECT_EQ(first(u"KDE"_s), (Command{u"systemsettings"_s, u"kcm_pulseaudio"_s}));
    EXPECT_EQ(first(u"X-Cinnamon"_s), (Command{u"cinnamon-settings"_s, u"sound"_s}));
    EXPECT_EQ(first(u"MATE"_s), Command{u"mate-volume-control"_s});
    EXPECT_EQ(first(u"XFCE"_s), Command{u"pavucontrol"_s});
    EXPECT_EQ(first(u""_s), Command{u"pavucontrol"_s});
}

TEST(DesktopOpener, OnlyGnomeHasSettingsOfWhoMaySee) {
    EXPECT_EQ(DesktopOpener::commandsForPane(screenPane, u"GNOME"_s),
              (std::vector<Command>{{u"gnome-control-center"_s, u"privacy"_s}}));
    EXPECT_TRUE(DesktopOpener::commandsForPane(screenPane, u"KDE"_s).empty());
    EXPECT_TRUE(DesktopOpener::commandsForPane(screenPane, u""_s).empty());
    EXPECT_TRUE(DesktopOpener::commandsForPane(u"https://example.org"_s, u"GNOME"_s).empty());
}

TEST(DesktopOpener, WhatTheUserSavesInAnotherProgramIsNotMadePrivate) {
    const fakes::TemporaryFolder folder;
    const auto pipe = folder / "told";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const mode_t before = ::umask(077); // as this program works
    const bool started = DesktopOpener::startFirst({{u"sh"_s, u"-c"_s, u"umask > \"$0\""_s, base::pathText(pipe)}});
    ::umask(before);
    ASSERT_TRUE(started);
    std::string mask;
    std::ifstream(pipe) >> mask;
    EXPECT_EQ(mask, "0022");
}

TEST(DesktopOpener, TheFirstProgramThatThereIsIsStarted) {
    EXPECT_TRUE(DesktopOpener::startFirst({{u"no-such-program-anywhere"_s}, {u"true"_s}}));
    EXPECT_FALSE(DesktopOpener::startFirst({{u"no-such-program-anywhere"_s}}));
    EXPECT_FALSE(DesktopOpener::startFirst({}));
}

TEST_F(SessionKindTest, AWaylandSessionIsOneEvenWithAnXServerBesideIt) {
    EXPECT_EQ(sessionKind(), SessionKind::None);
    qputenv("DISPLAY", ":7");
    EXPECT_EQ(sessionKind(), SessionKind::X11);
    qputenv("XDG_SESSION_TYPE", "x11");
    EXPECT_EQ(sessionKind(), SessionKind::X11);
    qputenv("XDG_SESSION_TYPE", "wayland");
    EXPECT_EQ(sessionKind(), SessionKind::Wayland);
    qunsetenv("XDG_SESSION_TYPE");
    qputenv("WAYLAND_DISPLAY", "wayland-0");
    EXPECT_EQ(sessionKind(), SessionKind::Wayland);
}

TEST(PortalPicture, AScreensPartLiesWhereItsFrameLiesAmongAllScreens) {
    const std::vector<capture::Display> screens = {
        {.id = 1, .frame = {.x = 0, .y = 0, .width = 1920, .height = 1080}},
        {.id = 2, .frame = {.x = 1920, .y = 280, .width = 1280, .height = 720}},
    };
    const QSize picture(3200, 1080);
    EXPECT_EQ(PortalPicture::partOf(picture, screens, screens[0].frame), QRect(0, 0, 1920, 1080));
    EXPECT_EQ(PortalPicture::partOf(picture, screens, screens[1].frame), QRect(1920, 280, 1280, 720));
    EXPECT_EQ(PortalPicture::partOf(picture * 2, screens, screens[1].frame), QRect(3840, 560, 2560, 1440));
}

TEST(PortalPicture, ScreensLeftOfTheOriginShiftAllOthers) {
    const std::vector<capture::Display> screens = {
        {.id = 1, .frame = {.x = -1280, .y = -100, .width = 1280, .height = 720}},
        {.id = 2, .frame = {.x = 0, .y = 0, .width = 1920, .height = 1080}},
    };
    EXPECT_EQ(PortalPicture::partOf({3200, 1180}, screens, screens[1].frame), QRect(1280, 100, 1920, 1080));
}

TEST(PortalPicture, AFrameOutsideOfThePictureHasNoPart) {
    const std::vector<capture::Display> screens = {{.id = 1, .frame = {.width = 100, .height = 100}}};
    EXPECT_TRUE(PortalPicture::partOf({100, 100}, screens, {.x = 100, .width = 50, .height = 50}).isEmpty());
    EXPECT_EQ(PortalPicture::partOf({100, 100}, screens, {.x = 90, .width = 50, .height = 50}), QRect(90, 0, 10, 50));
    EXPECT_TRUE(PortalPicture::partOf({100, 100}, {}, {.width = 50, .height = 50}).isEmpty());
    EXPECT_TRUE(PortalPicture::partOf({0, 0}, screens, {.width = 50, .height = 50}).isEmpty());
}

TEST(QtScreens, AScreenIsKnownByItsName) {
    EXPECT_EQ(QtScreens::idOf(u"HDMI-1"_s), QtScreens::idOf(u"HDMI-1"_s));
    EXPECT_NE(QtScreens::idOf(u"HDMI-1"_s), QtScreens::idOf(u"HDMI-2"_s));
    EXPECT_EQ(QtScreens::idOf(u"a"_s), 0xE40C292CU) << "FNV-1a's published value";
    EXPECT_NE(QtScreens::idOf(u""_s), 0U);
}

TEST(QtScreens, APictureIsRefusedInWords) {
    fakes::ManualDispatch dispatch;
    QtScreens screens(dispatch.main(), u"not here"_s);
    std::expected<QImage, QString> reply;
    screens.picture({}, 10, 10, [&](auto given) { reply = std::move(given); });
    ASSERT_FALSE(reply);
    EXPECT_EQ(reply.error(), u"not here"_s);
}
