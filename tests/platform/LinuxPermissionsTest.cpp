#include "platform/linux/LinuxPermissions.h"

#include "fakes/FakeOpener.h"
#include "fakes/ManualScheduler.h"
#include "fakes/QtPrinters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace platform::linux_desktop {
namespace {

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;
using SoundServer = LinuxPermissions::SoundServer;

const QString microphonePane = ui::Permissions::microphonePane.toString();

class LinuxPermissionsTest : public testing::Test {
protected:
    fakes::ManualDispatch dispatch;
    fakes::FakeOpener opener;
    SoundServer server = SoundServer::Answers;
    bool desktop = true;
    std::vector<QString> explained;
    std::unique_ptr<LinuxPermissions> permissions = std::make_unique<LinuxPermissions>(
        dispatch, opener,
        LinuxPermissions::Probes{.soundServer = [this] { return server; },
                                 .hasDesktop = [this] { return desktop; },
                                 .explain = [this](const QString& pane) { explained.push_back(pane); }});
    std::vector<bool> answers;

    void ask() {
        permissions->requestMicrophone([this](bool granted) {
            EXPECT_TRUE(dispatch.main().isCurrent());
            answers.push_back(granted);
        });
    }
};

TEST_F(LinuxPermissionsTest, TheMicrophoneIsGrantedWhereTheServerAnswersAndNeverAtOnce) {
    ask();
    EXPECT_THAT(answers, IsEmpty());
    dispatch.runDue();
    EXPECT_THAT(answers, ElementsAre(true));
    EXPECT_TRUE(permissions->microphoneGranted());
}

TEST_F(LinuxPermissionsTest, TheMicrophoneIsRefusedWhereThereIsNoServer) {
    server = SoundServer::Refuses;
    ask();
    dispatch.runDue();
    EXPECT_THAT(answers, ElementsAre(false));
    EXPECT_FALSE(permissions->microphoneGranted());
}

TEST_F(LinuxPermissionsTest, AServerThatComesBackGrantsAgain) {
    server = SoundServer::Refuses;
    ask();
    dispatch.runDue();
    server = SoundServer::Answers;
    ask();
    dispatch.runDue();
    EXPECT_THAT(answers, ElementsAre(false, true));
    EXPECT_TRUE(permissions->microphoneGranted());
}

TEST_F(LinuxPermissionsTest, AServerThatSaysNothingIsLeftToTheStart) {
    server = SoundServer::Silent;
    ask();
    dispatch.runDue();
    EXPECT_THAT(answers, ElementsAre(true));
}

TEST_F(LinuxPermissionsTest, AQuestionThatOutlivesItIsNotAnswered) {
    ask();
    permissions.reset();
    dispatch.runDue();
    EXPECT_THAT(answers, IsEmpty());
}

TEST_F(LinuxPermissionsTest, ScreensAreThereWhereverADesktopIs) {
    EXPECT_TRUE(permissions->screenCaptureGranted());
    EXPECT_TRUE(permissions->requestScreenCapture());
    desktop = false;
    EXPECT_FALSE(permissions->screenCaptureGranted());
    EXPECT_FALSE(permissions->requestScreenCapture());
}

TEST_F(LinuxPermissionsTest, APaneOpensTheDesktopsSettingsAndElseIsExplained) {
    permissions->open(microphonePane);
    EXPECT_THAT(opener.panes, ElementsAre(microphonePane));
    EXPECT_THAT(explained, IsEmpty());
    opener.hasPanes = false;
    permissions->open(ui::Permissions::screenCapturePane.toString());
    EXPECT_THAT(explained, ElementsAre(ui::Permissions::screenCapturePane.toString()));
    EXPECT_THAT(opener.addresses, IsEmpty());
}

TEST_F(LinuxPermissionsTest, AnotherAddressGoesToTheDesktop) {
    permissions->open(u"https://example.org"_s);
    EXPECT_THAT(opener.addresses, ElementsAre(u"https://example.org"_s));
    EXPECT_THAT(opener.panes, IsEmpty());
}

} // namespace
} // namespace platform::linux_desktop
