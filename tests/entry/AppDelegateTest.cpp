#include "entry/AppDelegateTest.h"

#include "base/Files.h"
#include "capture/HealthCheck.h"
#include "capture/LevelMeter.h"
#include "capture/MicCapture.h"
#include "copy/DesktopCopy.h"
#include "copy/Strings.h"

namespace entry {
namespace {

namespace fs = std::filesystem;
namespace Strings = copy::Strings;
using namespace Qt::StringLiterals;
using Kind = ui::RecordButtonState::Kind;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

const capture::CaptureError noMicrophone{capture::CaptureError::Kind::NoMicrophone, {}};

// ---- Starting

TEST_F(AppDelegateTest, StartsIdleWithNothingToSay) {
    launch();
    EXPECT_EQ(app->state(), RecorderState::Idle);
    EXPECT_EQ(app->windowNotice(), std::nullopt);
    EXPECT_EQ(window->button, ui::RecordButtonState::idle());
    EXPECT_EQ(statusItem.state.symbol, StatusSymbol::idle);
}

TEST_F(AppDelegateTest, BeginStartsARecordingAndTellsIt) {
    launch();
    begin();
    EXPECT_EQ(app->state(), RecorderState::Recording);
    EXPECT_THAT(posted(), ElementsAre(Strings::notifyStarted));
    EXPECT_THAT(app->pendingFolders(), ElementsAre(base::standardizedText(meeting(u8"2025_03_07_0930"))));
    EXPECT_EQ(window->button, ui::RecordButtonState::recording(0));
    EXPECT_FALSE(app->practicing());
}

TEST_F(AppDelegateTest, BeginAnswersAWaitingKeepCardAsKept) {
    launch();
    begin(true);
    stop();
    ASSERT_TRUE(app->keep().pending());
    begin();
    EXPECT_FALSE(app->keep().pending());
    EXPECT_THAT(generated, ElementsAre(meeting(u8"2025_03_07_0930_練習")));
    EXPECT_THAT(trashed, IsEmpty());
}

TEST_F(AppDelegateTest, ABeginThatIsIgnoredAnswersNoKeepCard) {
    launch();
    app->keep().ask("/some/take");
    permissions.holdMicrophoneAnswer = true;
    begin();
    app->keep().ask("/some/take");
    begin();
    EXPECT_TRUE(app->keep().pending());
}

TEST_F(AppDelegateTest, ASecondBeginDuringAStartDoesNothing) {
    permissions.holdMicrophoneAnswer = true;
    launch();
    begin();
    begin(true);
    EXPECT_EQ(permissions.microphoneRequests, 1);
    EXPECT_FALSE(app->practicing());
    permissions.answerMicrophone(true);
    dispatch.runDue();
    EXPECT_EQ(app->state(), RecorderState::Recording);
}

TEST_F(AppDelegateTest, BeginDuringARecordingOrAStopDoesNothing) {
    launch();
    begin();
    begin(true);
    EXPECT_EQ(permissions.microphoneRequests, 1);
    dispatch.holdBackground = true;
    stop();
    EXPECT_EQ(app->state(), RecorderState::Stopping);
    begin(true);
    EXPECT_EQ(permissions.microphoneRequests, 1);
    EXPECT_EQ(app->state(), RecorderState::Stopping);
}

TEST_F(AppDelegateTest, BeginForgetsTheNoticeAndTheWarningsOfTheLastTime) {
    launch();
    roles.micError = noMicrophone;
    begin();
    app->addWarning(u"old"_s);
    roles.micError.reset();
    permissions.holdMicrophoneAnswer = true;
    begin();
    EXPECT_EQ(app->notice(), std::nullopt);
    EXPECT_THAT(app->warnings(), IsEmpty());
}

TEST_F(AppDelegateTest, ARefusedMicrophoneShowsTheNoticeWithItsPane) {
    permissions.microphone = false;
    launch();
    begin();
    const ui::Notice expected{.text = Strings::noMicrophone, .pane = ui::Permissions::microphonePane.toString()};
    EXPECT_EQ(app->notice(), expected);
    EXPECT_EQ(app->state(), RecorderState::Idle);
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_THAT(log.steps, IsEmpty());
    EXPECT_EQ(statusItem.state.symbol, StatusSymbol::warning);
    EXPECT_EQ(window->notice, QString(Strings::noMicrophone));
    app->openNotice();
    EXPECT_THAT(permissions.opened, ElementsAre(ui::Permissions::microphonePane.toString()));
}

TEST_F(AppDelegateTest, AFailedStartNotifiesAndShowsANoticeWithoutAPane) {
    roles.micError = noMicrophone;
    launch();
    begin();
    const ui::Notice expected{.text = noMicrophone.text(), .pane = std::nullopt};
    EXPECT_EQ(app->notice(), expected);
    EXPECT_THAT(posted(), ElementsAre(noMicrophone.text()));
    EXPECT_EQ(app->state(), RecorderState::Idle);
    EXPECT_FALSE(fs::exists(meeting(u8"2025_03_07_0930")));
    app->openNotice();
    EXPECT_THAT(permissions.opened, IsEmpty());
}

TEST_F(AppDelegateTest, AFailedPracticeIsNoPracticeAnyMore) {
    roles.micError = noMicrophone;
    launch();
    begin(true);
    EXPECT_FALSE(app->practicing());
    EXPECT_FALSE(window->practice);
}

TEST_F(AppDelegateTest, AMeetingAsksForTheScreenAndAPracticeOnlyLooks) {
    launch();
    begin(true);
    EXPECT_EQ(permissions.screenCaptureRequests, 0);
    stop();
    begin();
    EXPECT_EQ(permissions.screenCaptureRequests, 1);
}

TEST_F(AppDelegateTest, APracticeWithoutScreenCaptureShowsNoDialogAndNoWarning) {
    permissions.screenCapture = false;
    launch();
    begin(true);
    EXPECT_EQ(permissions.screenCaptureRequests, 0);
    EXPECT_EQ(app->state(), RecorderState::Recording);
    EXPECT_THAT(app->warnings(), IsEmpty());
    EXPECT_THAT(posted(), ElementsAre(Strings::notifyPracticeStarted));
}

TEST_F(AppDelegateTest, AMeetingWhoseQuestionIsAnsweredNoRecordsTheMicrophoneAlone) {
    permissions.screenCaptureAnswer = false;
    launch();
    begin();
    EXPECT_EQ(app->state(), RecorderState::Recording);
    EXPECT_THAT(app->warnings(), ElementsAre(QString(Strings::noScreenCaptureMicOnly)));
}

TEST_F(AppDelegateTest, TheScreenshotPreferenceIsReadAtEachStart) {
    launch();
    defaults.set(AppDelegate::screenshotsKey.toString(), false);
    begin();
    EXPECT_FALSE(app->session()->autoShots());
}

TEST_F(AppDelegateTest, APracticeTakesNoAutomaticShotsWhateverThePreference) {
    launch();
    begin(true);
    EXPECT_TRUE(app->session()->canShoot());
    EXPECT_FALSE(app->session()->autoShots());
}

// ---- A slow microphone

TEST_F(AppDelegateTest, AMicrophoneThatTakesTenSecondsIsSaidToBeOpening) {
    launch();
    dispatch.holdBackground = true;
    begin();
    dispatch.advance(10.0 - tick);
    EXPECT_FALSE(app->micSlow());
    EXPECT_EQ(window->notice, std::nullopt);
    dispatch.advance(tick);
    EXPECT_TRUE(app->micSlow());
    EXPECT_EQ(window->notice, QString(Strings::micStillOpening));
    EXPECT_EQ(statusItem.rows.front().title, QString(Strings::micStillOpening));
    dispatch.releaseBackground();
    dispatch.runDue();
    EXPECT_FALSE(app->micSlow());
    EXPECT_EQ(window->notice, std::nullopt);
}

TEST_F(AppDelegateTest, AStartThatFailedLeavesNoSlowMicrophoneLater) {
    launch();
    roles.micError = noMicrophone;
    dispatch.holdBackground = true;
    begin();
    dispatch.advance(5.0);
    dispatch.releaseBackground();
    dispatch.runDue();
    EXPECT_EQ(app->state(), RecorderState::Idle);
    dispatch.advance(5.0);
    EXPECT_FALSE(app->micSlow());
}

TEST_F(AppDelegateTest, TheTimerOfAFailedStartDoesNotTouchTheNextOne) {
    launch();
    roles.micError = noMicrophone;
    begin();
    roles.micError.reset();
    dispatch.advance(5.0);
    dispatch.holdBackground = true;
    begin();
    dispatch.advance(5.0);
    EXPECT_FALSE(app->micSlow());
    dispatch.advance(5.0);
    EXPECT_TRUE(app->micSlow());
}

// ---- Warnings

TEST_F(AppDelegateTest, AWarningThatComesTwiceIsShownAndToldOnce) {
    launch();
    begin();
    notifications.added.clear();
    app->addWarning(u"trouble"_s);
    app->addWarning(u"trouble"_s);
    EXPECT_THAT(app->warnings(), ElementsAre(u"trouble"_s));
    EXPECT_THAT(posted(), ElementsAre(u"trouble"_s));
    EXPECT_EQ(statusItem.state.symbol, StatusSymbol::warning);
}

TEST_F(AppDelegateTest, AWarningThatWasClearedCanComeAgainAndTellsAgain) {
    launch();
    begin();
    notifications.added.clear();
    app->addWarning(u"trouble"_s);
    app->session()->onWarningCleared(u"trouble"_s);
    EXPECT_THAT(app->warnings(), IsEmpty());
    EXPECT_EQ(statusItem.state.symbol, StatusSymbol::recording);
    app->addWarning(u"trouble"_s);
    EXPECT_THAT(posted(), ElementsAre(u"trouble"_s, u"trouble"_s));
}

TEST_F(AppDelegateTest, ClearingAWarningThatIsNotThereChangesNothing) {
    launch();
    begin();
    const int states = statusItem.states;
    app->session()->onWarningCleared(u"trouble"_s);
    EXPECT_EQ(statusItem.states, states);
}

TEST_F(AppDelegateTest, ASilentMicrophoneWarnsOnceThroughTheHealthTicks) {
    launch();
    begin();
    notifications.added.clear();
    roles.tracks.at("system")->healthNow.buffers = 1;
    dispatch.advance(5.0);
    roles.tracks.at("system")->healthNow.buffers = 2;
    dispatch.advance(5.0);
    EXPECT_THAT(posted(), ElementsAre(QString(Strings::warnMicSilent)));
}

TEST_F(AppDelegateTest, AWarningOutlivesItsRecording) {
    launch();
    begin();
    app->addWarning(u"trouble"_s);
    stop();
    EXPECT_THAT(app->warnings(), ElementsAre(u"trouble"_s));
    EXPECT_EQ(window->notice, u"trouble"_s);
    begin();
    EXPECT_THAT(app->warnings(), IsEmpty());
}

TEST_F(AppDelegateTest, TheWindowShowsTheNoticeThenTheLastWarning) {
    launch();
    app->addWarning(u"one"_s);
    app->addWarning(u"two"_s);
    EXPECT_EQ(app->windowNotice(), u"two"_s);
    permissions.microphone = false;
    begin();
    app->addWarning(u"three"_s);
    EXPECT_EQ(app->windowNotice(), QString(Strings::noMicrophone));
}

// ---- While it runs

TEST_F(AppDelegateTest, TheClockTicksEverySecond) {
    launch();
    begin();
    dispatch.advance(1.0 - tick);
    EXPECT_EQ(window->button.elapsedSeconds, 0.0);
    dispatch.advance(tick);
    EXPECT_EQ(window->button, ui::RecordButtonState::recording(1.0));
    EXPECT_EQ(statusItem.state.title, u" 00:01"_s);
    EXPECT_EQ(statusItem.state.tint, StatusTint::Red);
    dispatch.advance(59.0);
    EXPECT_EQ(statusItem.state.title, u" 01:00"_s);
    EXPECT_EQ(window->pending, (fakes::FakeRecorderWindow::Pending{60.0, 0, false}));
}

TEST_F(AppDelegateTest, NothingTicksWhenNothingIsRecorded) {
    launch();
    const auto waiting = dispatch.timeline().waiting();
    begin();
    stop();
    dispatch.advance(45.0); // what a start has left behind
    EXPECT_EQ(dispatch.timeline().waiting(), waiting);
}

TEST_F(AppDelegateTest, LevelsFillTheMetersFromTheRight) {
    launch();
    begin();
    roles.tracks.at("mic")->level = 0.0;
    roles.tracks.at("system")->level = -30.0;
    dispatch.advance(0.2);
    EXPECT_THAT(app->micLevels(), ElementsAre(1.0));
    EXPECT_THAT(app->systemLevels(), ElementsAre(0.5));
    EXPECT_THAT(window->levels, ElementsAre(std::pair(1.0, 0.5)));
    EXPECT_EQ(statusItem.liveTitles[LiveRow::MicMeter], u"我 ▁▁▁▁▁▁▁█"_s);
    EXPECT_EQ(statusItem.liveTitles[LiveRow::SystemMeter], u"對方 ▁▁▁▁▁▁▁▅"_s);
}

TEST_F(AppDelegateTest, OnlyTheLastLevelsAreKept) {
    launch();
    begin();
    roles.tracks.at("mic")->level = 0.0;
    dispatch.advance(0.2);
    roles.tracks.at("mic")->level = -60.0;
    dispatch.advance(0.2 * static_cast<double>(capture::LevelMeter::cells - 1) + tick);
    EXPECT_EQ(app->micLevels().size(), capture::LevelMeter::cells);
    EXPECT_EQ(app->micLevels().front(), 1.0);
    dispatch.advance(0.2);
    EXPECT_EQ(app->micLevels().size(), capture::LevelMeter::cells);
    EXPECT_EQ(app->micLevels().front(), 0.0);
}

TEST_F(AppDelegateTest, WithoutASystemTrackItsMeterIsSilent) {
    launch();
    begin(true);
    dispatch.advance(0.2);
    EXPECT_THAT(app->systemLevels(), ElementsAre(0.0));
}

TEST_F(AppDelegateTest, LevelsBeginAnewWithEachRecording) {
    launch();
    begin();
    dispatch.advance(1.0);
    stop();
    begin();
    EXPECT_THAT(app->micLevels(), IsEmpty());
    EXPECT_THAT(app->systemLevels(), IsEmpty());
}

TEST_F(AppDelegateTest, TheScreenshotSwitchActsOnTheRunningRecording) {
    launch();
    begin();
    app->toggleScreenshots();
    EXPECT_FALSE(defaults.boolean(AppDelegate::screenshotsKey.toString()));
    EXPECT_FALSE(app->session()->autoShots());
    app->toggleScreenshots();
    EXPECT_TRUE(defaults.boolean(AppDelegate::screenshotsKey.toString()));
    EXPECT_TRUE(app->session()->autoShots());
}

TEST_F(AppDelegateTest, TheScreenshotSwitchLeavesAPracticeAlone) {
    launch();
    begin(true);
    app->toggleScreenshots();
    app->toggleScreenshots();
    EXPECT_TRUE(defaults.boolean(AppDelegate::screenshotsKey.toString()));
    EXPECT_FALSE(app->session()->autoShots());
}

TEST_F(AppDelegateTest, TheScreenshotSwitchWorksWithoutARecording) {
    launch();
    app->toggleScreenshots();
    EXPECT_FALSE(defaults.boolean(AppDelegate::screenshotsKey.toString()));
    app->openAll(); // nothing else depends on it
}

TEST_F(AppDelegateTest, AManualShotGoesToTheRecording) {
    launch();
    app->takeShot(); // nothing runs: nothing happens
    begin();
    roles.shooter->captures.clear();
    app->takeShot();
    EXPECT_THAT(roles.shooter->captures, ElementsAre(Shooter::Force::Yes));
}

TEST_F(AppDelegateTest, CanShootIsTrueForEveryMeetingAndAsksTheSessionInPractice) {
    permissions.screenCapture = false;
    permissions.screenCaptureAnswer = false;
    launch();
    begin();
    EXPECT_FALSE(app->session()->canShoot());
    EXPECT_TRUE(window->menu.canShoot);
    stop();
    begin(true);
    EXPECT_FALSE(window->menu.canShoot);
}

TEST_F(AppDelegateTest, TheMenuFollowsTheState) {
    const auto state = [](bool recording, bool enabled, bool practice, bool idle) {
        return ui::AppMenuState{
            .recording = recording, .enabled = enabled, .practice = practice, .canShoot = true, .idle = idle};
    };
    permissions.holdMicrophoneAnswer = true;
    launch();
    EXPECT_EQ(window->menu, state(false, true, false, true));
    begin(true);
    EXPECT_EQ(window->menu, state(false, false, true, false));
    permissions.answerMicrophone(true);
    dispatch.runDue();
    EXPECT_EQ(window->menu, state(true, true, true, false));
    dispatch.holdBackground = true;
    stop();
    EXPECT_EQ(window->menu, state(false, false, true, false));
    EXPECT_EQ(window->button, ui::RecordButtonState::stopping());
    dispatch.releaseBackground();
    dispatch.runDue();
    EXPECT_EQ(window->menu, state(false, true, false, true));
}

// ---- Actions

TEST_F(AppDelegateTest, TheToggleStopsARecordingAndStartsOneOtherwise) {
    launch();
    app->toggleRecording();
    dispatch.runDue();
    EXPECT_EQ(app->state(), RecorderState::Recording);
    app->toggleRecording();
    dispatch.runDue();
    EXPECT_EQ(app->state(), RecorderState::Idle);
}

TEST_F(AppDelegateTest, AStopWithoutARecordingDoesNothing) {
    permissions.holdMicrophoneAnswer = true;
    launch();
    app->stopRecording();
    EXPECT_EQ(app->state(), RecorderState::Idle);
    begin();
    app->stopRecording();
    EXPECT_EQ(app->state(), RecorderState::Starting);
}

TEST_F(AppDelegateTest, TheWindowsButtonsReachTheController) {
    launch();
    window->handlers.onStartPractice();
    dispatch.runDue();
    EXPECT_TRUE(app->practicing());
    window->handlers.onShot();
    EXPECT_THAT(roles.shooter->captures, ElementsAre(Shooter::Force::Yes));
    window->handlers.onStop();
    dispatch.runDue();
    EXPECT_EQ(app->state(), RecorderState::Idle);
    window->handlers.onStart();
    dispatch.runDue();
    EXPECT_FALSE(app->practicing());
    EXPECT_EQ(app->state(), RecorderState::Recording);
    window->handlers.onQuit();
    EXPECT_EQ(quits, 1);
}

TEST_F(AppDelegateTest, TheTraysRowsReachTheController) {
    launch();
    statusItem.act(MenuAction::StartRecording);
    dispatch.runDue();
    EXPECT_EQ(app->state(), RecorderState::Recording);
    statusItem.act(MenuAction::TakeShot);
    EXPECT_EQ(roles.shooter->captures.size(), 2U);
    statusItem.act(MenuAction::ToggleScreenshots);
    EXPECT_FALSE(app->session()->autoShots());
    statusItem.act(MenuAction::StopRecording);
    dispatch.runDue();
    EXPECT_EQ(app->state(), RecorderState::Idle);
    statusItem.act(MenuAction::StartPractice);
    dispatch.runDue();
    EXPECT_TRUE(app->practicing());
    statusItem.act(MenuAction::OpenWindow);
    EXPECT_EQ(window->shows, 2);
    statusItem.act(MenuAction::OpenAll);
    EXPECT_THAT(opener.folders, ElementsAre(store::AppPaths::meetings()));
    statusItem.act(MenuAction::Quit);
    EXPECT_EQ(quits, 1);
    statusItem.act(MenuAction::None);
}

TEST_F(AppDelegateTest, OpeningTheMenuShowsTheClockOfThatMoment) {
    launch();
    begin();
    dispatch.clock.set(dispatch.clock.now() + 65.0); // no tick has come yet
    statusItem.openMenu();
    EXPECT_EQ(statusItem.rows.front().title, Strings::statusRecording(u"01:05"_s));
}

TEST_F(AppDelegateTest, OpenLatestOpensTheNewestMeetingElseThemAll) {
    launch();
    app->openLatest();
    EXPECT_THAT(opener.folders, ElementsAre(store::AppPaths::meetings()));
    EXPECT_TRUE(fs::is_directory(store::AppPaths::meetings()));
    seams.latestFolder = [] { return std::optional<fs::path>("/somewhere/newest"); };
    launch();
    app->openLatest();
    EXPECT_EQ(opener.folders.back(), "/somewhere/newest");
}

TEST_F(AppDelegateTest, ClosingTheWindowKeepsTheRecordingAndSaysSo) {
    launch();
    window->handlers.onClosed();
    EXPECT_THAT(posted(), IsEmpty());
    begin();
    notifications.added.clear();
    window->handlers.onClosed();
    EXPECT_EQ(app->state(), RecorderState::Recording);
    EXPECT_THAT(posted(), ElementsAre(copy::DesktopCopy::current().stillRecording.toString()));
}

TEST_F(AppDelegateTest, TheWindowIsMadeOnceAndKept) {
    launch();
    auto* const first = window;
    app->showMainWindow();
    EXPECT_EQ(window, first);
    EXPECT_EQ(window->shows, 2);
}

TEST_F(AppDelegateTest, AControllerThatIsGoneIsNotCalledAnyMore) {
    launch();
    begin();
    app.reset();
    statusItem.act(MenuAction::StopRecording);
    statusItem.openMenu();
    dispatch.advance(60.0);
}

// ---- Launch

TEST_F(AppDelegateTest, ALaunchPreparesTheFoldersAndShowsTheTray) {
    statusItem.visible = false;
    fs::create_directories(store::AppPaths::work() / "left over");
    launch();
    EXPECT_TRUE(fs::is_directory(store::AppPaths::meetings()));
    EXPECT_TRUE(fs::is_empty(store::AppPaths::work()));
    EXPECT_TRUE(statusItem.visible);
    EXPECT_TRUE(defaults.boolean(u"screenshotsEnabled"_s));
    EXPECT_TRUE(defaults.boolean(u"autoSummaryAfterRecording"_s));
    EXPECT_THAT(statusItem.rows, Not(IsEmpty()));
}

TEST_F(AppDelegateTest, ALaunchInTestModeHidesTheTrayAndStaysSilent) {
    const EnvironmentValue home("TARVEX_HOME", QByteArray::fromStdString((data / "test").string()));
    launch();
    EXPECT_FALSE(statusItem.visible);
    EXPECT_EQ(app->menuBarIconLine(), u"menu bar icon: hidden"_s);
    begin();
    EXPECT_THAT(posted(), IsEmpty());
}

TEST_F(AppDelegateTest, TheIconLineNamesTheSign) {
    launch();
    EXPECT_EQ(app->menuBarIconLine(), u"menu bar icon: MenuBarIcon"_s);
    begin();
    EXPECT_EQ(app->menuBarIconLine(), u"menu bar icon: record.circle.fill"_s);
}

TEST_F(AppDelegateTest, WhatHasExpiredIsPrunedEveryDay) {
    launch();
    prunes = 0;
    dispatch.advance(86400.0 - 1.0);
    EXPECT_EQ(prunes, 0);
    dispatch.advance(1.0);
    EXPECT_EQ(prunes, 1);
    dispatch.advance(86400.0);
    EXPECT_EQ(prunes, 2);
}

TEST_F(AppDelegateTest, AFolderThatCannotBePreparedIsToldByTheNextStart) {
    files.folderError = u"read-only"_s;
    launch();
    EXPECT_EQ(app->notice(), std::nullopt);
    begin();
    EXPECT_EQ(app->notice()->text, Strings::folderFailed(u"read-only"_s));
}

} // namespace
} // namespace entry
