// The end of the program in every state, and the recovery that it may have to wait for.

#include "base/Files.h"
#include "copy/Strings.h"
#include "entry/AppDelegateTest.h"
#include "entry/QuitPolicy.h"
#include "entry/SingleInstance.h"
#include "entry/StatusItemPrefs.h"

namespace entry {
namespace {

namespace fs = std::filesystem;
using namespace Qt::StringLiterals;
using enum AppDelegate::TerminateReply;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const double limit = QuitPolicy::terminateWaitLimit();

class AppDelegateQuitTest : public AppDelegateTest {
protected:
    AppDelegateQuitTest() { holdForms(); }

    /// Standard output of `what`.
    template<typename What>
    static std::string printed(What what) {
        testing::internal::CaptureStdout();
        what();
        return testing::internal::GetCapturedStdout();
    }
};

// ---- The answer

TEST_F(AppDelegateQuitTest, WithNothingGoingOnTheProgramEndsNow) {
    launch();
    EXPECT_EQ(app->shouldTerminate(), Now);
    EXPECT_FALSE(app->terminating());
    EXPECT_EQ(window->commits, 1);
    EXPECT_EQ(aiHolds, 1);
    EXPECT_EQ(aiCancels, 0);
}

TEST_F(AppDelegateQuitTest, ARunningRecordingIsStoppedSavedWithoutAFormAndThenItEnds) {
    launch();
    begin();
    EXPECT_EQ(app->shouldTerminate(), Later);
    EXPECT_EQ(app->state(), RecorderState::Stopping);
    EXPECT_THAT(ends, IsEmpty());
    dispatch.runDue();
    EXPECT_THAT(ends, ElementsAre(false));
    const auto meta = store::MeetingArchive::readMeta(meeting(u8"2025_03_07_0930_未命名"));
    ASSERT_TRUE(meta);
    EXPECT_TRUE(meta->end.has_value());
    EXPECT_EQ(app->formsShown(), 0);
    EXPECT_THAT(generated, IsEmpty());
    EXPECT_THAT(app->pendingFolders(), IsEmpty());
    EXPECT_FALSE(app->terminating());
}

TEST_F(AppDelegateQuitTest, ARunningPracticeIsStoppedAndKeptWithoutACard) {
    launch();
    begin(true);
    EXPECT_EQ(app->shouldTerminate(), Later);
    dispatch.runDue();
    EXPECT_THAT(ends, ElementsAre(false));
    EXPECT_FALSE(app->keep().pending());
    EXPECT_TRUE(store::MeetingArchive::readMeta(meeting(u8"2025_03_07_0930_練習"))->end.has_value());
}

TEST_F(AppDelegateQuitTest, AQuitDuringTheStartLetsItEndAndThenStopsAtOnce) {
    permissions.holdMicrophoneAnswer = true;
    launch();
    begin();
    EXPECT_EQ(app->shouldTerminate(), Later);
    EXPECT_EQ(app->state(), RecorderState::Starting);
    permissions.answerMicrophone(true);
    dispatch.runDue();
    EXPECT_THAT(ends, ElementsAre(false));
    EXPECT_TRUE(fs::exists(meeting(u8"2025_03_07_0930_未命名") / "mic.m4a"));
}

TEST_F(AppDelegateQuitTest, AQuitDuringAStartThatFailsEndsWithTheFailure) {
    permissions.holdMicrophoneAnswer = true;
    launch();
    begin();
    EXPECT_EQ(app->shouldTerminate(), Later);
    permissions.answerMicrophone(false);
    EXPECT_THAT(ends, ElementsAre(false));
}

TEST_F(AppDelegateQuitTest, AFailedStartDoesNotEndAQuitThatStillWaitsForAI) {
    permissions.holdMicrophoneAnswer = true;
    launch();
    begin();
    aiBusy = aiSummarizing = true;
    (void)app->shouldTerminate();
    permissions.answerMicrophone(false);
    EXPECT_THAT(ends, IsEmpty());
    aiBusy = false;
    app->aiFinished();
    EXPECT_THAT(ends, ElementsAre(false));
}

TEST_F(AppDelegateQuitTest, AQuitDuringTheStopWaitsForIt) {
    launch();
    begin();
    dispatch.holdBackground = true;
    stop();
    EXPECT_EQ(app->shouldTerminate(), Later);
    dispatch.releaseBackground();
    dispatch.runDue();
    EXPECT_THAT(ends, ElementsAre(false));
    EXPECT_THAT(openForms, IsEmpty());
    EXPECT_TRUE(fs::exists(meeting(u8"2025_03_07_0930_未命名")));
}

TEST_F(AppDelegateQuitTest, ASecondQuitDuringAStopAnswersLaterAndStartsNoWatchdog) {
    launch();
    begin();
    dispatch.holdBackground = true;
    (void)app->shouldTerminate();
    dispatch.advance(limit - 1.0);
    const int holds = aiHolds;
    EXPECT_EQ(app->shouldTerminate(), Later);
    EXPECT_EQ(aiHolds, holds);
    EXPECT_EQ(window->commits, 2);
    dispatch.advance(1.0); // of the first watchdog
    EXPECT_THAT(ends, ElementsAre(true));
    dispatch.advance(limit * 2);
    EXPECT_EQ(ends.size(), 1U);
}

TEST_F(AppDelegateQuitTest, AnOpenFormIsSkippedBeforeTheEnd) {
    launch();
    begin();
    stop();
    ASSERT_EQ(openForms.size(), 1U);
    EXPECT_EQ(app->shouldTerminate(), Now);
    EXPECT_TRUE(fs::exists(meeting(u8"2025_03_07_0930_未命名")));
    EXPECT_THAT(generated, IsEmpty());
}

TEST_F(AppDelegateQuitTest, AFormThatIsSavedWhileTheProgramEndsQueuesNothing) {
    seams.form.skipAll = [] {};
    launch();
    begin();
    stop();
    aiBusy = aiSummarizing = true;
    EXPECT_EQ(app->shouldTerminate(), Later);
    openForms.at(0)(answers(u"note"_s));
    EXPECT_TRUE(fs::exists(meeting(u8"2025_03_07_0930_note")));
    EXPECT_THAT(generated, IsEmpty());
}

TEST_F(AppDelegateQuitTest, TroubleOfARecordingThatEndsWithTheProgramIsPrinted) {
    launch();
    begin();
    fs::remove(meeting(u8"2025_03_07_0930") / "meta.json");
    fs::create_directories(meeting(u8"2025_03_07_0930") / "meta.json" / "in the way");
    (void)app->shouldTerminate();
    const auto lines = printed([this] { dispatch.runDue(); });
    EXPECT_THAT(lines, HasSubstr("warning: meta.json"));
    EXPECT_THAT(ends, ElementsAre(false));
}

// ---- AI work

TEST_F(AppDelegateQuitTest, ARunningSummaryMayFinish) {
    launch();
    aiBusy = aiSummarizing = true;
    EXPECT_EQ(app->shouldTerminate(), Later);
    EXPECT_EQ(aiCancels, 0);
    aiBusy = false;
    app->aiFinished();
    EXPECT_THAT(ends, ElementsAre(false));
}

TEST_F(AppDelegateQuitTest, ARunningTranscriptionIsCancelledAndWaitedFor) {
    launch();
    aiBusy = true;
    EXPECT_EQ(app->shouldTerminate(), Later);
    EXPECT_EQ(aiCancels, 1);
    EXPECT_THAT(ends, IsEmpty());
    aiBusy = false;
    app->aiFinished();
    EXPECT_THAT(ends, ElementsAre(false));
}

TEST_F(AppDelegateQuitTest, TheEndOfAIWorkEndsNothingThatNobodyAskedToEnd) {
    launch();
    app->aiFinished();
    EXPECT_THAT(ends, IsEmpty());
}

TEST_F(AppDelegateQuitTest, TheEndOfAIWorkDoesNotEndARunningStop) {
    launch();
    begin();
    dispatch.holdBackground = true;
    aiBusy = aiSummarizing = true;
    (void)app->shouldTerminate();
    aiBusy = false;
    app->aiFinished();
    EXPECT_THAT(ends, IsEmpty());
}

TEST_F(AppDelegateQuitTest, AStopThatEndsBeforeTheSummaryLeavesTheEndToIt) {
    launch();
    begin();
    aiBusy = aiSummarizing = true;
    (void)app->shouldTerminate();
    dispatch.runDue();
    EXPECT_EQ(app->state(), RecorderState::Idle);
    EXPECT_THAT(ends, IsEmpty());
    aiBusy = false;
    app->aiFinished();
    EXPECT_THAT(ends, ElementsAre(false));
}

TEST_F(AppDelegateQuitTest, APracticeThatEndsBeforeTheSummaryLeavesTheEndToIt) {
    launch();
    begin(true);
    aiBusy = aiSummarizing = true;
    (void)app->shouldTerminate();
    dispatch.runDue();
    EXPECT_THAT(ends, IsEmpty());
    EXPECT_FALSE(app->keep().pending());
}

// ---- Power off

TEST_F(AppDelegateQuitTest, AShutdownNeverWaitsForAI) {
    launch();
    aiBusy = aiSummarizing = true;
    app->powerOff();
    EXPECT_EQ(aiHolds, 1);
    EXPECT_EQ(aiCancels, 1);
    EXPECT_EQ(app->shouldTerminate(), Now);
    EXPECT_EQ(aiCancels, 2);
}

TEST_F(AppDelegateQuitTest, AShutdownStillSavesTheRecording) {
    launch();
    begin();
    app->powerOff();
    EXPECT_EQ(app->shouldTerminate(), Later);
    dispatch.runDue();
    EXPECT_THAT(ends, ElementsAre(false));
    EXPECT_TRUE(fs::exists(meeting(u8"2025_03_07_0930_未命名")));
}

TEST_F(AppDelegateQuitTest, AShutdownWaitsForRecovery) {
    make();
    dispatch.holdBackground = true;
    app->didFinishLaunching();
    app->powerOff();
    EXPECT_EQ(app->shouldTerminate(), Later);
    dispatch.releaseBackground();
    dispatch.runDue();
    EXPECT_THAT(ends, ElementsAre(false));
}

// ---- The watchdog

TEST_F(AppDelegateQuitTest, AHungStopEndsAfterTheLimit) {
    launch();
    begin();
    dispatch.holdBackground = true;
    (void)app->shouldTerminate();
    dispatch.advance(limit - tick);
    EXPECT_THAT(ends, IsEmpty());
    const auto lines = printed([this] { dispatch.advance(tick); });
    EXPECT_EQ(lines, "quit: gave up waiting after 20 seconds\n");
    EXPECT_THAT(ends, ElementsAre(true));
    EXPECT_FALSE(app->terminating());
}

TEST_F(AppDelegateQuitTest, TheWholeWaitRestartsWhenTheConversionBegins) {
    roles.holdSystemStop = true;
    launch();
    begin();
    dispatch.advance(3670.0);
    (void)app->shouldTerminate();
    dispatch.advance(10.0);
    // From here on nothing comes back, with a conversion of 3670 seconds of recording to do.
    dispatch.holdBackground = true;
    roles.system->heldStop();
    dispatch.advance(limit + 36.7 - tick);
    EXPECT_THAT(ends, IsEmpty());
    const auto lines = printed([this] { dispatch.advance(tick); });
    EXPECT_EQ(lines, "quit: gave up waiting after 56 seconds\n");
}

TEST_F(AppDelegateQuitTest, WhileAIRunsTheWaitIsAtLeastAMinuteAndItIsCancelledThen) {
    launch();
    aiBusy = aiSummarizing = true;
    (void)app->shouldTerminate();
    dispatch.advance(QuitPolicy::aiWait() - tick);
    EXPECT_THAT(ends, IsEmpty());
    EXPECT_EQ(aiCancels, 0);
    const auto lines = printed([this] { dispatch.advance(tick); });
    EXPECT_EQ(lines, "quit: gave up waiting after 60 seconds\n");
    EXPECT_EQ(aiCancels, 1);
    EXPECT_THAT(ends, ElementsAre(true));
}

TEST_F(AppDelegateQuitTest, ALongConversionMayTakeLongerThanTheMinuteOfAIWork) {
    roles.holdSystemStop = true;
    launch();
    begin();
    dispatch.advance(4500.0);
    aiBusy = aiSummarizing = true;
    (void)app->shouldTerminate();
    dispatch.runDue();
    dispatch.holdBackground = true;
    roles.system->heldStop();
    dispatch.advance(limit + 45.0 - tick);
    EXPECT_THAT(ends, IsEmpty());
    EXPECT_EQ(printed([this] { dispatch.advance(tick); }), "quit: gave up waiting after 65 seconds\n");
}

TEST_F(AppDelegateQuitTest, AWatchdogOfAWaitThatEndedWellDoesNothing) {
    launch();
    begin();
    (void)app->shouldTerminate();
    dispatch.runDue();
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_EQ(printed([this] { dispatch.advance(limit * 10); }), "");
    EXPECT_EQ(ends.size(), 1U);
}

TEST_F(AppDelegateQuitTest, TheLimitCanBeMadeShortInTestModeAlone) {
    {
        const EnvironmentValue wait("TARVEX_TERMINATE_WAIT", "1");
        EXPECT_EQ(QuitPolicy::terminateWaitLimit(), 20.0);
    }
    const EnvironmentValue home("TARVEX_HOME", QByteArray::fromStdString((data / "test").string()));
    const EnvironmentValue wait("TARVEX_TERMINATE_WAIT", "1");
    launch();
    begin();
    dispatch.holdBackground = true;
    (void)app->shouldTerminate();
    dispatch.advance(1.0 - tick);
    EXPECT_THAT(ends, IsEmpty());
    EXPECT_EQ(printed([this] { dispatch.advance(tick); }), "quit: gave up waiting after 1 seconds\n");
    EXPECT_THAT(ends, ElementsAre(true));
}

// ---- The last step

TEST_F(AppDelegateQuitTest, TheLastStepGivesTheInstanceUpAndKeepsTheTake) {
    launch();
    const auto lock = SingleInstance::url(store::AppPaths::root());
    ASSERT_EQ(SingleInstance::claim(store::AppPaths::root()), std::nullopt);
    ASSERT_TRUE(fs::exists(lock));
    app->keep().ask("/some/take");
    app->willTerminate();
    EXPECT_FALSE(app->keep().pending());
    EXPECT_THAT(trashed, IsEmpty());
    EXPECT_FALSE(fs::exists(lock));
}

TEST_F(AppDelegateQuitTest, TheLastStepForgetsTheTestItemInTestModeAlone) {
    const QString key = StatusItemPrefs::testKeys[0].toString();
    launch();
    defaults.set(key, true);
    app->willTerminate();
    EXPECT_TRUE(defaults.value(key).has_value());
    const EnvironmentValue home("TARVEX_HOME", QByteArray::fromStdString((data / "test").string()));
    app->willTerminate();
    EXPECT_FALSE(defaults.value(key).has_value());
}

// ---- Recovery

TEST_F(AppDelegateQuitTest, RecoveryHidesItsFoldersUntilItHasEndedAndPrintsWhatItDid) {
    std::vector<std::string> order;
    seams.recovery = {.clearStaleLock = [&] { order.emplace_back("clear"); },
                      .recordingElsewhere =
                          [&] {
                              order.emplace_back("elsewhere");
                              return false;
                          },
                      .pending = [] { return store::MeetingLibrary::FolderSet{u"/m/a"_s}; },
                      .run =
                          [&] {
                              order.emplace_back("run");
                              return QStringList{u"recovered: a mic 1.0s"_s};
                          }};
    seams.resumeQueue = [&] { order.emplace_back("resume"); };
    make();
    app->didFinishLaunching();
    EXPECT_TRUE(app->recovering());
    EXPECT_THAT(app->busyFolders(), ElementsAre(u"/m/a"_s));
    EXPECT_THAT(order, ElementsAre("clear", "elsewhere"));
    EXPECT_EQ(printed([this] { dispatch.runDue(); }), "recovered: a mic 1.0s\n");
    EXPECT_FALSE(app->recovering());
    EXPECT_THAT(app->busyFolders(), IsEmpty());
    EXPECT_THAT(order, ElementsAre("clear", "elsewhere", "run", "resume"));
}

TEST_F(AppDelegateQuitTest, ASelfTestResumesNoAIWork) {
    make(AppDelegate::Mode::SelfTest);
    app->didFinishLaunching();
    dispatch.runDue();
    EXPECT_FALSE(app->recovering());
    EXPECT_EQ(resumes, 0);
    make();
    app->didFinishLaunching();
    dispatch.runDue();
    EXPECT_EQ(resumes, 1);
}

TEST_F(AppDelegateQuitTest, BusyFoldersAreThoseOfRecoveryAndOfTheRecording) {
    seams.recovery.pending = [] { return store::MeetingLibrary::FolderSet{u"/m/a"_s}; };
    make();
    dispatch.holdBackground = true;
    app->didFinishLaunching();
    dispatch.holdBackground = false;
    begin();
    EXPECT_THAT(app->busyFolders(),
                testing::UnorderedElementsAre(u"/m/a"_s, base::standardizedText(meeting(u8"2025_03_07_0930"))));
}

TEST_F(AppDelegateQuitTest, WhileAnotherProcessRecordsNothingIsHealedOrResumed) {
    seams.recovery.recordingElsewhere = [] { return true; };
    seams.recovery.run = [] { return QStringList{u"never"_s}; };
    make();
    EXPECT_EQ(printed([this] {
                  app->didFinishLaunching();
                  dispatch.runDue();
              }),
              "");
    EXPECT_FALSE(app->recovering());
    EXPECT_EQ(resumes, 0);
}

TEST_F(AppDelegateQuitTest, RecoveryCanBeHeldOpenInTestMode) {
    const EnvironmentValue home("TARVEX_HOME", QByteArray::fromStdString((data / "test").string()));
    const EnvironmentValue hold("TARVEX_RECOVERY_HOLD", "3");
    make();
    app->didFinishLaunching();
    dispatch.advance(3.0 - tick);
    EXPECT_TRUE(app->recovering());
    dispatch.advance(tick);
    EXPECT_FALSE(app->recovering());
}

TEST_F(AppDelegateQuitTest, TheHoldHasNoEffectOutsideTestMode) {
    const EnvironmentValue hold("TARVEX_RECOVERY_HOLD", "3");
    make();
    app->didFinishLaunching();
    dispatch.runDue();
    EXPECT_FALSE(app->recovering());
}

TEST_F(AppDelegateQuitTest, AQuitDuringRecoveryWaitsForIt) {
    make();
    dispatch.holdBackground = true;
    app->didFinishLaunching();
    EXPECT_EQ(app->shouldTerminate(), Later);
    EXPECT_THAT(ends, IsEmpty());
    dispatch.releaseBackground();
    dispatch.runDue();
    EXPECT_THAT(ends, ElementsAre(false));
}

TEST_F(AppDelegateQuitTest, TheEndOfRecoveryDoesNotEndAQuitThatWaitsForAI) {
    make();
    dispatch.holdBackground = true;
    app->didFinishLaunching();
    aiBusy = aiSummarizing = true;
    (void)app->shouldTerminate();
    dispatch.releaseBackground();
    dispatch.runDue();
    EXPECT_THAT(ends, IsEmpty());
    aiBusy = false;
    app->aiFinished();
    EXPECT_THAT(ends, ElementsAre(false));
}

TEST_F(AppDelegateQuitTest, TheEndOfRecoveryDoesNotEndAQuitThatWaitsForARecording) {
    make();
    dispatch.holdBackground = true;
    app->didFinishLaunching();
    app->begin(false);
    EXPECT_EQ(app->shouldTerminate(), Later);
    dispatch.releaseBackground(); // recovery ends before the microphone has opened
    dispatch.runDue();
    EXPECT_THAT(ends, ElementsAre(false));
    EXPECT_EQ(app->formsShown(), 0);
    EXPECT_TRUE(fs::exists(meeting(u8"2025_03_07_0930_未命名")));
}

TEST_F(AppDelegateQuitTest, TheEndOfAIWorkDoesNotEndAQuitThatWaitsForRecovery) {
    make();
    dispatch.holdBackground = true;
    app->didFinishLaunching();
    aiBusy = true;
    (void)app->shouldTerminate();
    aiBusy = false;
    app->aiFinished();
    EXPECT_THAT(ends, IsEmpty());
}

TEST_F(AppDelegateQuitTest, WhileRecoveryRunsTheTrayStartsNothing) {
    make();
    dispatch.holdBackground = true;
    app->didFinishLaunching();
    const auto canStart = [this] {
        return std::ranges::any_of(statusItem.rows, [](const MenuRow& row) {
            return row.action == MenuAction::StartRecording && row.enabled;
        });
    };
    EXPECT_FALSE(canStart());
    dispatch.releaseBackground();
    dispatch.runDue();
    EXPECT_TRUE(canStart());
}

} // namespace
} // namespace entry
