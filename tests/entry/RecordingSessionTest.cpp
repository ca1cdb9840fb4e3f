#include "entry/RecordingSession.h"

#include "capture/HealthCheck.h"
#include "capture/LevelMeter.h"
#include "capture/MicCapture.h"
#include "copy/EnvironmentValue.h"
#include "copy/Strings.h"
#include "fakes/FakeKeepAwake.h"
#include "fakes/FakeRecordingRoles.h"
#include "fakes/FakeScreenSource.h"
#include "fakes/ManualScheduler.h"
#include "fakes/QtPrinters.h"
#include "fakes/TemporaryFolder.h"
#include "store/AppPaths.h"
#include "store/MeetingArchive.h"
#include "store/RecordingLock.h"
#include "store/Recovery.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace entry {
namespace {

namespace fs = std::filesystem;
namespace Strings = copy::Strings;
using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr double tick = 0.001; // the least step that tells one moment from the next
constexpr auto cannotUse = capture::CaptureError::Kind::CannotUse;

capture::Display display(std::uint32_t id) {
    return {.id = id, .frame = {0, 0, 1920, 1080}, .pixelWidth = 1920, .pixelHeight = 1080};
}

class RecordingSessionTest : public testing::Test {
protected:
    RecordingSessionTest() {
        screens.nextContent =
            capture::ScreenContent{.displays = {display(3), display(7)}, .windows = {}, .mainDisplay = 7};
        request = {.meetingsDirectory = store::AppPaths::meetings(),
                   .screenshots = true,
                   .screenCapture = true,
                   .practice = false,
                   .onWarning = [this](const QString& text) { warnings.push_back(text); }};
    }

    /// Asks for a recording and lets everything happen that is due at once.
    void start() {
        RecordingSession::start(services, request, [this](const RecordingSession::Started& result) {
            ++completions;
            if (result) {
                session = *result;
            } else {
                error = result.error();
            }
        });
        dispatch.runDue();
    }

    void startPractice() {
        request.practice = true;
        start();
    }

    void stop() {
        session->stop([this](double seconds) { converting.push_back(seconds); },
                      [this](const store::StoppedSession& result) {
                          EXPECT_TRUE(dispatch.main().isCurrent());
                          stopped.push_back(result);
                      });
        dispatch.runDue();
    }

    [[nodiscard]] store::MeetingMeta meta() const {
        const auto read = store::MeetingArchive::readMeta(folder());
        return read.value_or(store::MeetingMeta());
    }

    [[nodiscard]] fs::path folder() const { return store::AppPaths::meetings() / "2025_03_07_0930"; }

    [[nodiscard]] fakes::FakeTrack& mic() { return *roles.tracks.at("mic"); }

    [[nodiscard]] fakes::FakeTrack& system() { return *roles.tracks.at("system"); }

    /// Only the steps that begin with one of the words.
    [[nodiscard]] std::vector<std::string> stepsSince(std::size_t first) const {
        return {log.steps.begin() + static_cast<std::ptrdiff_t>(first), log.steps.end()};
    }

    fakes::TemporaryFolder home;
    EnvironmentValue homeVariable{"TARVEX_HOME", QByteArray::fromStdString(home.path.string())};
    fakes::ManualDispatch dispatch;
    fakes::ManualWallClock wallClock;
    fakes::FakeScreenSource screens;
    fakes::StepLog log;
    fakes::FakeRecordingRoles roles{log};
    fakes::FakeRecordingFiles files{log};
    fakes::FakeKeepAwake keepAwake;
    RecordingSession::Services services{dispatch, dispatch.clock, wallClock, screens, roles, files, keepAwake};
    RecordingSession::Request request;

    std::shared_ptr<RecordingSession> session;
    std::optional<StartError> error;
    int completions = 0;
    std::vector<QString> warnings;
    std::vector<double> converting;
    std::vector<store::StoppedSession> stopped;
};

// ---- Start

TEST_F(RecordingSessionTest, StartsInTheToldOrder) {
    start();
    ASSERT_TRUE(session);
    EXPECT_THAT(log.steps, ElementsAre("make folders", "write lock", "write meta", "make track mic",
                                       "make track system", "start mic", "start system"));
    EXPECT_EQ(completions, 1);
    EXPECT_THAT(warnings, IsEmpty());
}

TEST_F(RecordingSessionTest, MakesAFolderWithShotsLockAndAnOpenRecord) {
    start();
    EXPECT_EQ(session->folder(), folder());
    EXPECT_TRUE(fs::is_directory(folder() / "shots"));
    EXPECT_TRUE(store::RecordingLock::isLive(folder()));
    EXPECT_EQ(meta().start, u"2025-03-07T09:30:12+08:00"_s);
    EXPECT_EQ(meta().end, std::nullopt);
    EXPECT_EQ(meta().mode, std::nullopt);
    EXPECT_TRUE(meta().screenshotsEnabled);
}

TEST_F(RecordingSessionTest, TwoRecordingsInOneMinuteGetTwoFolders) {
    start();
    const auto first = session;
    start();
    EXPECT_EQ(session->folder().filename(), "2025_03_07_0930_2");
    EXPECT_NE(first->folder(), session->folder());
}

TEST_F(RecordingSessionTest, APracticeFolderCarriesItsNameFromTheStart) {
    startPractice();
    EXPECT_EQ(session->folder().filename(), fs::path(u8"2025_03_07_0930_練習"));
    EXPECT_EQ(store::MeetingArchive::readMeta(session->folder())->mode, store::MeetingMeta::practiceMode);
}

TEST_F(RecordingSessionTest, BothTracksAndTheShooterShareOneZeroPoint) {
    dispatch.clock.set(4321.5);
    start();
    EXPECT_EQ(session->startHost(), 4321.5);
    EXPECT_EQ(mic().startHost, 4321.5);
    EXPECT_EQ(system().startHost, 4321.5);
    EXPECT_EQ(roles.shooterStart, 4321.5);
    EXPECT_EQ(roles.shooterDirectory, folder() / "shots");
    dispatch.advance(2.5);
    EXPECT_EQ(session->elapsed(), 2.5);
}

TEST_F(RecordingSessionTest, TakesTheMainDisplay) {
    start();
    EXPECT_EQ(roles.shooterDisplay, display(7));
    EXPECT_EQ(roles.system->startedOn, display(7));
}

TEST_F(RecordingSessionTest, TakesTheFirstDisplayWhenTheMainOneIsNotListed) {
    screens.nextContent->mainDisplay = 99;
    start();
    EXPECT_EQ(roles.shooterDisplay, display(3));
}

TEST_F(RecordingSessionTest, WithoutScreenCaptureRecordsTheMicrophoneAloneAndSaysSo) {
    request.screenCapture = false;
    start();
    ASSERT_TRUE(session);
    EXPECT_EQ(screens.contentRequests, 0);
    EXPECT_THAT(warnings, ElementsAre(Strings::noScreenCaptureMicOnly));
    EXPECT_FALSE(session->canShoot());
    EXPECT_FALSE(session->systemRunning());
    EXPECT_TRUE(system().discarded);
    EXPECT_FALSE(fs::exists(folder() / "system.caf"));
    EXPECT_FALSE(meta().screenshotsEnabled);
}

TEST_F(RecordingSessionTest, WithoutShareableContentRecordsTheMicrophoneAloneAndSaysSo) {
    screens.nextContent = std::unexpected(u"no"_s);
    start();
    ASSERT_TRUE(session);
    EXPECT_THAT(warnings, ElementsAre(Strings::noScreenCaptureMicOnly));
    EXPECT_FALSE(session->canShoot());
}

TEST_F(RecordingSessionTest, WithoutADisplayRecordsTheMicrophoneAloneAndSaysSo) {
    screens.nextContent = capture::ScreenContent();
    start();
    ASSERT_TRUE(session);
    EXPECT_THAT(warnings, ElementsAre(Strings::noDisplayMicOnly));
    EXPECT_TRUE(system().discarded);
}

TEST_F(RecordingSessionTest, ADesktopThatNeverTellsItsScreensHoldsNoRecordingUp) {
    screens.holdContent = true;
    start();
    dispatch.advance(RecordingSession::screenContentLimit - tick);
    EXPECT_FALSE(session);
    dispatch.advance(tick);
    ASSERT_TRUE(session);
    EXPECT_THAT(warnings, ElementsAre(Strings::noScreenCaptureMicOnly));
    screens.answerContent(); // too late
    dispatch.runDue();
    EXPECT_EQ(completions, 1);
}

TEST_F(RecordingSessionTest, APracticeNeverWarnsAboutTheScreen) {
    request.screenCapture = false;
    startPractice();
    ASSERT_TRUE(session);
    EXPECT_THAT(warnings, IsEmpty());
}

TEST_F(RecordingSessionTest, APracticeShowsStartupWarnings) {
    files.lockError = u"full"_s;
    startPractice();
    EXPECT_THAT(warnings, ElementsAre(Strings::lockWriteFailed(u"full"_s)));
}

TEST_F(RecordingSessionTest, APracticeWithScreenCaptureCanShootButDoesNotByItself) {
    startPractice();
    EXPECT_TRUE(session->canShoot());
    EXPECT_FALSE(session->autoShots());
    EXPECT_FALSE(session->autoShotsEverOn());
    EXPECT_FALSE(session->systemRunning());
    EXPECT_TRUE(system().discarded);
    EXPECT_FALSE(fs::exists(session->folder() / "system.caf"));
    EXPECT_FALSE(roles.system->startedOn.has_value());
    EXPECT_THAT(roles.shooter->captures, IsEmpty());
}

TEST_F(RecordingSessionTest, AFolderThatCannotBeMadeFailsTheStartAndCleansNothingUp) {
    files.folderError = u"read-only"_s;
    start();
    EXPECT_EQ(error, StartError(SessionError{u"read-only"_s}));
    EXPECT_EQ(text(*error), Strings::folderFailed(u"read-only"_s));
    EXPECT_THAT(log.steps, ElementsAre("make folders"));
    EXPECT_EQ(completions, 1);
}

TEST_F(RecordingSessionTest, ALockThatCannotBeWrittenIsAWarning) {
    files.lockError = u"full"_s;
    start();
    ASSERT_TRUE(session);
    EXPECT_THAT(warnings, ElementsAre(Strings::lockWriteFailed(u"full"_s)));
}

TEST_F(RecordingSessionTest, StartupWarningsComeInOrderAndBeforeTheScreen) {
    files.lockError = u"a"_s;
    files.metaError = u"b"_s;
    request.screenCapture = false;
    start();
    ASSERT_TRUE(session);
    EXPECT_THAT(warnings, ElementsAre(Strings::lockWriteFailed(u"a"_s), Strings::metaWriteFailed(u"b"_s),
                                      Strings::noScreenCaptureMicOnly));
}

class TrackThatCannotBeOpened : public RecordingSessionTest, public testing::WithParamInterface<std::string> {};

TEST_P(TrackThatCannotBeOpened, FailsTheStartAndLeavesNothing) {
    roles.trackErrors[GetParam()] = u"no space"_s;
    start();
    EXPECT_EQ(error, StartError(TrackError{u"no space"_s}));
    EXPECT_EQ(text(*error), u"no space"_s);
    EXPECT_FALSE(fs::exists(folder()));
    EXPECT_FALSE(fs::exists(store::RecordingLock::url()));
    EXPECT_THAT(stepsSince(log.steps.size() - 2), ElementsAre("remove lock", "remove folder"));
}

INSTANTIATE_TEST_SUITE_P(Either, TrackThatCannotBeOpened, testing::Values("mic", "system"));

TEST_F(RecordingSessionTest, AMicrophoneThatFailsLeavesNoTrace) {
    roles.micError = capture::CaptureError{cannotUse, u"busy"_s};
    start();
    EXPECT_EQ(error, StartError(capture::CaptureError{cannotUse, u"busy"_s}));
    EXPECT_EQ(text(*error), (capture::CaptureError{cannotUse, u"busy"_s}.text()));
    EXPECT_FALSE(fs::exists(folder()));
    EXPECT_FALSE(fs::exists(store::RecordingLock::url()));
    EXPECT_THAT(stepsSince(log.steps.size() - 4),
                ElementsAre("discard mic", "discard system", "remove lock", "remove folder"));
    EXPECT_EQ(*keepAwake.held, 0);
}

TEST_F(RecordingSessionTest, AMicrophoneThatTakesTooLongIsGivenUpAtTheLimitAndClosedWhenItOpens) {
    dispatch.holdBackground = true;
    start();
    dispatch.advance(45.0 - tick);
    EXPECT_EQ(completions, 0);
    dispatch.advance(tick);
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(error, StartError(capture::CaptureError{capture::CaptureError::Kind::Timeout, {}}));
    EXPECT_FALSE(fs::exists(folder()));
    dispatch.releaseBackground();
    dispatch.runDue();
    EXPECT_THAT(stepsSince(log.steps.size() - 2), ElementsAre("start mic", "stop mic"));
    EXPECT_FALSE(roles.mic->running);
    EXPECT_EQ(completions, 1);
}

TEST_F(RecordingSessionTest, AMicrophoneThatFailsAfterTheLimitIsNotHeardOf) {
    roles.micError = capture::CaptureError{cannotUse, u"busy"_s};
    dispatch.holdBackground = true;
    start();
    dispatch.advance(45.0);
    dispatch.releaseBackground();
    dispatch.runDue();
    EXPECT_EQ(log.steps.back(), "start mic");
    EXPECT_EQ(completions, 1);
}

TEST_F(RecordingSessionTest, TheLimitCanBeMadeTinyInTestMode) {
    const EnvironmentValue limit("TARVEX_MIC_TIMEOUT", "0.001");
    dispatch.holdBackground = true;
    start();
    dispatch.advance(0.001);
    EXPECT_EQ(text(*error), Strings::micFailed(Strings::micTimeoutReason));
    EXPECT_FALSE(fs::exists(folder()));
}

TEST_F(RecordingSessionTest, TheLimitDoesNotEndARecordingThatRuns) {
    start();
    dispatch.advance(45.0 + 1);
    EXPECT_EQ(completions, 1);
    EXPECT_TRUE(fs::exists(folder()));
    EXPECT_TRUE(roles.mic->running);
}

TEST_F(RecordingSessionTest, SystemSoundThatFailsIsAWarningAndItsTrackGoes) {
    roles.systemError = u"no monitor"_s;
    start();
    ASSERT_TRUE(session);
    EXPECT_THAT(warnings, ElementsAre(Strings::systemAudioFailed(u"no monitor"_s)));
    EXPECT_FALSE(session->systemRunning());
    EXPECT_FALSE(fs::exists(folder() / "system.caf"));
    EXPECT_TRUE(session->canShoot());
}

TEST_F(RecordingSessionTest, TheStartCompletesOnlyWhenSystemSoundHasAnswered) {
    roles.holdSystemStart = true;
    start();
    EXPECT_EQ(completions, 0);
    dispatch.advance(1.0);
    EXPECT_THAT(roles.shooter->captures, IsEmpty()); // no timer runs yet
    roles.system->heldStart(std::nullopt);
    EXPECT_EQ(completions, 1);
    EXPECT_TRUE(session->systemRunning());
}

TEST_F(RecordingSessionTest, KeepsTheMachineAwakeFromTheMicrophoneToTheEndOfTheStop) {
    start();
    EXPECT_THAT(keepAwake.reasons, ElementsAre(u"Tarvex recording"_s));
    EXPECT_EQ(*keepAwake.held, 1);
    dispatch.holdBackground = true;
    stop();
    EXPECT_EQ(*keepAwake.held, 1);
    dispatch.releaseBackground();
    dispatch.runDue();
    EXPECT_EQ(*keepAwake.held, 0);
}

// ---- While it runs

TEST_F(RecordingSessionTest, ErrorsOfTheSourcesBecomeWarningsAsTheyAre) {
    start();
    roles.mic->onError(u"mic"_s);
    roles.system->onError(u"system"_s);
    roles.shooter->onError(u"shot"_s);
    EXPECT_THAT(warnings, ElementsAre(u"mic"_s, u"system"_s, u"shot"_s));
}

TEST_F(RecordingSessionTest, ErrorsAfterTheSessionHasGoneDoNothing) {
    start();
    session.reset();
    roles.mic->onError(u"mic"_s);
    EXPECT_THAT(warnings, IsEmpty());
}

TEST_F(RecordingSessionTest, TheFirstShotIsForcedAndTheOthersComeEveryThirtySeconds) {
    using enum Shooter::Force;
    start();
    EXPECT_THAT(roles.shooter->captures, ElementsAre(Yes));
    dispatch.advance(30.0 - tick);
    EXPECT_THAT(roles.shooter->captures, ElementsAre(Yes));
    dispatch.advance(tick);
    EXPECT_THAT(roles.shooter->captures, ElementsAre(Yes, No));
    dispatch.advance(30.0);
    EXPECT_THAT(roles.shooter->captures, ElementsAre(Yes, No, No));
}

TEST_F(RecordingSessionTest, NoAutomaticShotWhileTheyAreOffButTheManualOneIsForced) {
    request.screenshots = false;
    start();
    dispatch.advance(2 * 30.0);
    EXPECT_THAT(roles.shooter->captures, IsEmpty());
    session->takeShot();
    EXPECT_THAT(roles.shooter->captures, ElementsAre(Shooter::Force::Yes));
}

TEST_F(RecordingSessionTest, AManualShotWithoutAShooterDoesNothing) {
    request.screenCapture = false;
    start();
    session->takeShot();
    EXPECT_FALSE(roles.shooter);
}

TEST_F(RecordingSessionTest, AutomaticShotsThatWereOnForAWhileAreRemembered) {
    request.screenshots = false;
    start();
    EXPECT_FALSE(session->autoShotsEverOn());
    session->setAutoShots(true);
    EXPECT_TRUE(session->autoShots());
    dispatch.advance(60.0);
    session->setAutoShots(false);
    EXPECT_FALSE(session->autoShots());
    EXPECT_TRUE(session->autoShotsEverOn());
    stop();
    EXPECT_TRUE(stopped.at(0).screenshotsEnabled);
    EXPECT_TRUE(meta().screenshotsEnabled);
}

TEST_F(RecordingSessionTest, AutomaticShotsStayOffWithoutAShooter) {
    request.screenCapture = false;
    start();
    session->setAutoShots(true);
    EXPECT_FALSE(session->autoShots());
    EXPECT_FALSE(session->autoShotsEverOn());
}

TEST_F(RecordingSessionTest, LevelsComeFiveTimesASecondAndNoSamplesAreSilence) {
    std::vector<std::pair<double, std::optional<double>>> levels;
    start();
    session->onLevels = [&](double micDB, std::optional<double> systemDB) { levels.emplace_back(micDB, systemDB); };
    mic().level = -12.0;
    dispatch.advance(0.2 - tick);
    EXPECT_THAT(levels, IsEmpty());
    dispatch.advance(2 * tick);
    mic().level.reset();
    system().level = -3.0;
    dispatch.advance(0.2);
    EXPECT_THAT(levels, ElementsAre(std::pair(-12.0, std::optional(capture::LevelMeter::silenceDB)),
                                    std::pair(capture::LevelMeter::silenceDB, std::optional(-3.0))));
}

TEST_F(RecordingSessionTest, ASessionWhoseSystemTrackFailedSendsNoSecondLevelAndReportsNone) {
    roles.systemError = u"no"_s;
    std::vector<std::optional<double>> second;
    start();
    session->onLevels = [&](double, std::optional<double> level) { second.push_back(level); };
    dispatch.advance(0.2);
    EXPECT_THAT(second, ElementsAre(std::nullopt));
    stop();
    EXPECT_EQ(stopped.at(0).systemSeconds, std::nullopt);
}

TEST_F(RecordingSessionTest, AHealthProblemIsSentAtEveryTickUntilItIsResolved) {
    std::vector<QString> cleared;
    start();
    session->onWarningCleared = [&](const QString& text) { cleared.push_back(text); };
    system().healthNow.buffers = 1;
    dispatch.advance(5.0 - tick);
    EXPECT_THAT(warnings, IsEmpty());
    dispatch.advance(tick);
    EXPECT_THAT(warnings, ElementsAre(Strings::warnMicSilent));
    system().healthNow.buffers = 2;
    dispatch.advance(5.0);
    EXPECT_THAT(warnings, ElementsAre(Strings::warnMicSilent, Strings::warnMicSilent));
    EXPECT_THAT(cleared, IsEmpty());
    mic().healthNow.buffers = 1;
    system().healthNow.buffers = 3;
    dispatch.advance(5.0);
    EXPECT_THAT(cleared, ElementsAre(Strings::warnMicSilent));
    EXPECT_EQ(warnings.size(), 2U);
}

TEST_F(RecordingSessionTest, HealthLooksAtThePeriodAndNotAtTheWhole) {
    start();
    mic().healthNow.buffers = system().healthNow.buffers = 100;
    dispatch.advance(5.0);
    EXPECT_THAT(warnings, IsEmpty());
    system().healthNow.buffers = 101;
    dispatch.advance(5.0);
    EXPECT_THAT(warnings, ElementsAre(Strings::warnMicSilent));
}

TEST_F(RecordingSessionTest, ATrackThatIsStuckInTheDiskHoldsNeitherTheMainThreadNorMoreThanOneQuestion) {
    start();
    dispatch.holdBackground = true;
    const int tasks = dispatch.backgroundTasks;
    dispatch.advance(3 * 5.0);
    EXPECT_EQ(dispatch.backgroundTasks, tasks + 1);
    EXPECT_THAT(warnings, IsEmpty());
    dispatch.releaseBackground();
    dispatch.runDue();
    EXPECT_THAT(warnings, ElementsAre(Strings::warnMicSilent, Strings::warnSystemSilent));
    dispatch.advance(5.0);
    EXPECT_EQ(dispatch.backgroundTasks, tasks + 2);
}

TEST_F(RecordingSessionTest, AnAnswerAboutHealthThatComesAfterTheStopIsNotJudged) {
    start();
    dispatch.holdBackground = true;
    dispatch.advance(5.0);
    session->stop({}, [](const auto&) {});
    dispatch.releaseBackground();
    dispatch.runDue();
    EXPECT_THAT(warnings, IsEmpty());
}

TEST_F(RecordingSessionTest, ATrackThatDoesNotRunIsNotJudged) {
    request.screenCapture = false;
    start();
    warnings.clear();
    mic().healthNow.buffers = 1;
    dispatch.advance(5.0);
    EXPECT_THAT(warnings, IsEmpty());
}

TEST_F(RecordingSessionTest, TheMicrophoneCanBeRestartedForATest) {
    start();
    session->restartMicForTest();
    EXPECT_EQ(session->micRestarts(), 1);
}

TEST_F(RecordingSessionTest, TimersOfAReleasedSessionDoNothing) {
    start();
    const std::weak_ptr<RecordingSession> weak = session;
    session.reset();
    EXPECT_TRUE(weak.expired());
    dispatch.advance(60.0);
}

// ---- Stop

TEST_F(RecordingSessionTest, StopsInTheToldOrder) {
    start();
    const auto before = log.steps.size();
    stop();
    EXPECT_THAT(stepsSince(before),
                ElementsAre("write meta", "stop shooter", "await mic", "await system", "stop mic", "stop system",
                            "finish mic", "finish system", "convert mic.caf", "make durable mic.m4a", "remove mic.caf",
                            "convert system.caf", "make durable system.m4a", "remove system.caf", "remove lock"));
    EXPECT_EQ(stopped.size(), 1U);
}

TEST_F(RecordingSessionTest, HandsOverWhatWasRecorded) {
    start();
    roles.shooter->saved = 4;
    wallClock.time = wallClock.time.addSecs(12);
    dispatch.advance(12.34);
    mic().lengthAtFinish = 12.4;
    stop();
    const store::StoppedSession expected = {.folder = folder(),
                                            .start = session->startDate(),
                                            .end = wallClock.time,
                                            .duration = session->elapsed(),
                                            .screenshotsEnabled = true,
                                            .micSeconds = 12.4,
                                            .systemSeconds = session->elapsed(),
                                            .shots = 4,
                                            .practice = false};
    EXPECT_EQ(stopped.at(0), expected);
    EXPECT_EQ(mic().finishedWith, stopped.at(0).duration);
    EXPECT_EQ(system().finishedWith, stopped.at(0).duration);
    EXPECT_THAT(converting, ElementsAre(stopped.at(0).duration));
}

TEST_F(RecordingSessionTest, TheDurationIsRoundedInTheRecordAndNotInWhatIsHandedOver) {
    start();
    dispatch.advance(12.34);
    stop();
    EXPECT_EQ(meta().duration, 12.3);
    EXPECT_EQ(stopped.at(0).duration, session->elapsed());
    EXPECT_NEAR(stopped.at(0).duration, 12.34, 1e-9);
}

TEST_F(RecordingSessionTest, APracticeHandsOverItsMode) {
    startPractice();
    stop();
    EXPECT_TRUE(stopped.at(0).practice);
    EXPECT_EQ(stopped.at(0).systemSeconds, std::nullopt);
    EXPECT_EQ(store::MeetingArchive::readMeta(session->folder())->mode, store::MeetingMeta::practiceMode);
}

TEST_F(RecordingSessionTest, TheRecordIsFinishedBeforeAnythingIsClosed) {
    start();
    dispatch.holdBackground = true;
    stop();
    EXPECT_NE(meta().end, std::nullopt);
    EXPECT_TRUE(roles.mic->running);
    EXPECT_TRUE(store::RecordingLock::isLive(folder()));
}

TEST_F(RecordingSessionTest, NothingTicksAfterTheStop) {
    int levels = 0;
    start();
    session->onLevels = [&](double, std::optional<double>) { ++levels; };
    stop();
    roles.shooter->captures.clear();
    warnings.clear();
    dispatch.advance(120.0);
    EXPECT_EQ(levels, 0);
    EXPECT_THAT(roles.shooter->captures, IsEmpty());
    EXPECT_THAT(warnings, IsEmpty());
}

TEST_F(RecordingSessionTest, SystemSoundIsStoppedEvenIfItNeverRan) {
    request.screenCapture = false;
    start();
    const auto before = log.steps.size();
    stop();
    EXPECT_THAT(stepsSince(before),
                ElementsAre("write meta", "await mic", "stop mic", "stop system", "finish mic", "convert mic.caf",
                            "make durable mic.m4a", "remove mic.caf", "remove lock"));
    EXPECT_EQ(stopped.at(0).shots, 0);
}

TEST_F(RecordingSessionTest, NothingIsClosedBeforeSystemSoundHasStopped) {
    roles.holdSystemStop = true;
    start();
    stop();
    EXPECT_EQ(log.steps.back(), "stop system");
    EXPECT_THAT(converting, IsEmpty());
    roles.system->heldStop();
    dispatch.runDue();
    EXPECT_EQ(stopped.size(), 1U);
}

TEST_F(RecordingSessionTest, ARecordThatCannotBeWrittenAtTheStopIsAWarningAndTheStopGoesOn) {
    start();
    files.metaError = u"full"_s;
    stop();
    EXPECT_THAT(warnings, ElementsAre(Strings::metaWriteFailed(u"full"_s)));
    EXPECT_EQ(stopped.size(), 1U);
    EXPECT_EQ(meta().end, std::nullopt); // so that the folder counts as interrupted
}

TEST_F(RecordingSessionTest, AConversionThatFailsKeepsItsCafAndIsToldAfterTheStop) {
    roles.conversionErrors["mic.caf"] = u"bad"_s;
    start();
    stop();
    EXPECT_TRUE(fs::exists(folder() / "mic.caf"));
    EXPECT_FALSE(fs::exists(folder() / "system.caf"));
    EXPECT_TRUE(fs::exists(folder() / "system.m4a"));
    EXPECT_THAT(warnings, ElementsAre(Strings::convertFailed(u"bad"_s)));
    EXPECT_EQ(stopped.at(0).micSeconds, stopped.at(0).duration);
    EXPECT_FALSE(fs::exists(store::RecordingLock::url()));
}

TEST_F(RecordingSessionTest, ConversionsThatFailAreToldInTheOrderOfTheirArrivalBeforeTheCompletion) {
    roles.conversionErrors["mic.caf"] = u"one"_s;
    roles.conversionErrors["system.caf"] = u"two"_s;
    start();
    std::size_t warningsAtCompletion = 0;
    session->stop({}, [&](const auto&) { warningsAtCompletion = warnings.size(); });
    dispatch.runDue();
    EXPECT_THAT(warnings, ElementsAre(Strings::convertFailed(u"one"_s), Strings::convertFailed(u"two"_s)));
    EXPECT_EQ(warningsAtCompletion, 2U);
}

TEST_F(RecordingSessionTest, ACafStaysUntilItsM4aIsOnTheDisk) {
    files.durableErrors["system.m4a"] = u"disk gone"_s;
    start();
    stop();
    EXPECT_FALSE(fs::exists(folder() / "mic.caf"));
    EXPECT_TRUE(fs::exists(folder() / "system.caf"));
    EXPECT_THAT(warnings, ElementsAre(Strings::convertFailed(u"disk gone"_s)));
}

TEST_F(RecordingSessionTest, AStopWithoutAConvertingCallbackIsFine) {
    start();
    bool done = false;
    session->stop({}, [&](const auto&) { done = true; });
    dispatch.runDue();
    EXPECT_TRUE(done);
}

TEST_F(RecordingSessionTest, TheLockStandsUntilTheLastConversionHasEnded) {
    bool lockedThroughout = true;
    start();
    log.onStep = [&](const std::string& step) {
        lockedThroughout = lockedThroughout && (step == "remove lock" || store::RecordingLock::isLive(folder()));
    };
    stop();
    EXPECT_TRUE(lockedThroughout);
    EXPECT_FALSE(fs::exists(store::RecordingLock::url()));
}

// ---- Cut off at any moment

/// Kills the recording before each of its steps in turn: what the disk holds then is copied aside and healed there.
class RecordingCutOffTest : public RecordingSessionTest {
protected:
    /// The data root as it is at this moment, healed as the next launch would heal it.
    fs::path healed(const std::string& step) {
        const fs::path copy = snapshots / std::to_string(cuts.size());
        cuts.push_back(step);
        fs::copy(home.path, copy, fs::copy_options::recursive);
        const auto nobodyLives = [](const fs::path&) { return false; };
        const auto convert = [](const fs::path& caf,
                                const fs::path& m4a) -> std::expected<double, store::ConvertFailure> {
            fs::copy_file(caf, m4a, fs::copy_options::overwrite_existing);
            return 1.0;
        };
        for (const auto& outcome : store::Recovery::run(copy / "Meetings", nobodyLives, convert, wallClock)) {
            EXPECT_TRUE(outcome.failures.isEmpty()) << outcome.failures.join(u'|').toStdString();
        }
        // With every track converted there is nothing left to heal, and the name stays.
        const fs::path untouched = copy / "Meetings" / "2025_03_07_0930";
        return fs::exists(untouched) ? untouched : copy / "Meetings" / fs::path(u8"2025_03_07_0930_未命名");
    }

    static void expectTrack(const fs::path& folder, const std::string& name) {
        EXPECT_FALSE(fs::exists(folder / (name + ".caf"))) << name;
        std::ifstream file(folder / (name + ".m4a"));
        const std::string sound((std::istreambuf_iterator<char>(file)), {});
        EXPECT_EQ(sound, "frames of " + name);
    }

    fakes::TemporaryFolder snapshotFolder;
    fs::path snapshots = snapshotFolder.path;
    std::vector<std::string> cuts;
};

TEST_F(RecordingCutOffTest, EveryMomentOfTheStopLeavesBothTracksAndAnEnd) {
    start();
    const auto before = log.steps.size();
    log.onStep = [&](const std::string& step) {
        SCOPED_TRACE("cut off before " + step);
        const fs::path folder = healed(step);
        expectTrack(folder, "mic");
        expectTrack(folder, "system");
        const auto record = store::MeetingArchive::readMeta(folder);
        ASSERT_TRUE(record);
        EXPECT_TRUE(record->end.has_value());
    };
    stop();
    EXPECT_EQ(cuts, stepsSince(before));
    EXPECT_EQ(cuts.size(), 15U);
}

TEST_F(RecordingCutOffTest, EveryMomentOfAStopWhoseConversionsFailKeepsTheSound) {
    roles.conversionErrors["mic.caf"] = u"bad"_s;
    files.durableErrors["system.m4a"] = u"disk gone"_s;
    start();
    log.onStep = [&](const std::string& step) {
        SCOPED_TRACE("cut off before " + step);
        const fs::path folder = healed(step);
        expectTrack(folder, "mic");
        expectTrack(folder, "system");
    };
    stop();
    SCOPED_TRACE("after the stop");
    log.onStep = {};
    expectTrack(healed("the end"), "mic");
}

TEST_F(RecordingCutOffTest, EveryMomentOfTheStartLeavesWhatCanBeHealedAndNoTrackIsLost) {
    log.onStep = [&](const std::string& step) {
        SCOPED_TRACE("cut off before " + step);
        const fs::path folder = healed(step);
        for (const auto& [label, track] : roles.tracks) {
            expectTrack(folder, label);
        }
        if (!roles.tracks.empty()) {
            EXPECT_TRUE(store::MeetingArchive::readMeta(folder)->end.has_value());
        }
    };
    start();
    EXPECT_EQ(cuts, log.steps);
    EXPECT_EQ(cuts.size(), 7U);
}

} // namespace
} // namespace entry
