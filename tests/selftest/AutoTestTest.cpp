#include "selftest/AutoTest.h"

#include "entry/AppDelegateTest.h"

#include <fstream>

namespace selftest {
namespace {

namespace fs = std::filesystem;
using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class AutoTestTest : public entry::AppDelegateTest {
protected:
    /// Everything that is printed until nothing is left to happen.
    std::string run(const AutoTest::Options& options) {
        testing::internal::CaptureStdout();
        test = std::make_unique<AutoTest>(options, dispatch, dispatch.clock);
        test->connect(seams);
        make();
        app->didFinishLaunching();
        test->run(app, [this] { ++quits; }, [this](int code) { exits.push_back(code); });
        dispatch.advance(options.seconds + 2.0);
        return testing::internal::GetCapturedStdout();
    }

    EnvironmentValue home{"TARVEX_HOME", QByteArray::fromStdString((data / "home").string())};
    std::unique_ptr<AutoTest> test;
    std::vector<int> exits;
};

TEST_F(AutoTestTest, ReportsAMeeting) {
    const auto lines = run({.seconds = 4.0, .practice = false});
    const auto folder = (store::AppPaths::meetings() / fs::path(u8"2025_03_07_0930_auto_test_自動測試")).string();
    EXPECT_EQ(lines, "recording started 0.0 s after launch\n"
                     "folder: " +
                         folder +
                         "\n"
                         "duration: 4.00 mic: 4.00 system: 4.00 shots: 0\n"
                         "mic restarts: 1\n"
                         "mode: meeting forms shown: 1\n"
                         "menu bar icon: hidden\n");
    EXPECT_EQ(store::MeetingArchive::readMeta(folder)->note, u"auto test 自動測試"_s);
    EXPECT_EQ(quits, 1);
    EXPECT_THAT(exits, IsEmpty());
}

TEST_F(AutoTestTest, RestartsTheMicrophoneAtAThirdAndShootsInTheMiddle) {
    test = std::make_unique<AutoTest>(AutoTest::Options{.seconds = 6.0}, dispatch, dispatch.clock);
    test->connect(seams);
    make();
    app->didFinishLaunching();
    test->run(app, [] {}, [](int) {});
    dispatch.runDue();
    roles.shooter->captures.clear();
    dispatch.advance(2.0 - tick);
    EXPECT_EQ(roles.mic->restarts, 0);
    dispatch.advance(2 * tick);
    EXPECT_EQ(roles.mic->restarts, 1);
    dispatch.advance(1.0 - 3 * tick);
    EXPECT_THAT(roles.shooter->captures, IsEmpty());
    dispatch.advance(3 * tick);
    EXPECT_THAT(roles.shooter->captures, ElementsAre(entry::Shooter::Force::Yes));
    dispatch.advance(3.0 - 3 * tick);
    EXPECT_EQ(app->state(), entry::RecorderState::Recording);
    dispatch.advance(3 * tick);
    EXPECT_EQ(app->state(), entry::RecorderState::Idle);
}

TEST_F(AutoTestTest, TellsHowLongTheStartTook) {
    permissions.holdMicrophoneAnswer = true;
    testing::internal::CaptureStdout();
    test = std::make_unique<AutoTest>(AutoTest::Options{.seconds = 6.0}, dispatch, dispatch.clock);
    test->connect(seams);
    make();
    app->didFinishLaunching();
    test->run(app, [] {}, [](int) {});
    dispatch.advance(1.25);
    permissions.answerMicrophone(true);
    dispatch.runDue();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "recording started 1.2 s after launch\n");
}

TEST(AutoTestLineTest, LengthsHaveTwoDecimals) {
    store::StoppedSession stopped;
    stopped.duration = 12.346;
    stopped.micSeconds = 0.125; // a tie goes to the even digit, as printf has it
    stopped.systemSeconds = 3600.0;
    stopped.shots = 12;
    EXPECT_EQ(AutoTest::durationLine(stopped), u"duration: 12.35 mic: 0.12 system: 3600.00 shots: 12"_s);
}

TEST_F(AutoTestTest, TellsThatThereIsNoSystemTrack) {
    roles.systemError = u"no"_s;
    const auto lines = run({.seconds = 3.0});
    EXPECT_THAT(lines, HasSubstr("duration: 3.00 mic: 3.00 system: none shots: 0\n"));
    EXPECT_THAT(lines, HasSubstr("\nwarning: 系統聲音沒錄到：no\n"));
}

TEST_F(AutoTestTest, ReportsAPracticeAndKeepsIt) {
    const auto lines = run({.seconds = 3.0, .practice = true});
    EXPECT_THAT(lines, HasSubstr("mode: practice forms shown: 0\n"));
    EXPECT_THAT(lines, HasSubstr("\nkeep card\npractice choice: keep keep card: hidden\n"));
    EXPECT_THAT(trashed, IsEmpty());
    EXPECT_EQ(quits, 1);
}

TEST_F(AutoTestTest, ReportsAPracticeAndDiscardsIt) {
    seams.moveToTrash = [](const fs::path& folder) -> std::expected<void, base::FileError> {
        fs::remove_all(folder);
        return {};
    };
    const auto lines = run({.seconds = 3.0, .practice = true, .keep = false});
    EXPECT_THAT(lines, HasSubstr("\nkeep card\n"
                                 "practice discarded: 2025_03_07_0930_練習 folder gone=yes\n"
                                 "practice choice: discard keep card: hidden\n"));
}

TEST_F(AutoTestTest, AnswersTheCardHalfASecondAfterTheReport) {
    test = std::make_unique<AutoTest>(AutoTest::Options{.seconds = 3.0, .practice = true}, dispatch, dispatch.clock);
    test->connect(seams);
    make();
    app->didFinishLaunching();
    testing::internal::CaptureStdout();
    test->run(app, [] {}, [](int) {});
    dispatch.advance(3.0 + 0.5 - tick);
    EXPECT_TRUE(app->keep().pending());
    dispatch.advance(2 * tick);
    EXPECT_FALSE(app->keep().pending());
    testing::internal::GetCapturedStdout();
}

TEST_F(AutoTestTest, AQuitWhileTheFormIsOpenSkipsIt) {
    test = std::make_unique<AutoTest>(AutoTest::Options{.seconds = 3.0}, dispatch, dispatch.clock);
    test->connect(seams);
    make();
    app->didFinishLaunching();
    testing::internal::CaptureStdout();
    test->run(app, [] {}, [](int) {});
    dispatch.advance(3.0 + tick);
    ASSERT_EQ(app->formsShown(), 1);
    EXPECT_EQ(app->shouldTerminate(), entry::AppDelegate::TerminateReply::Now);
    const auto untitled = store::AppPaths::meetings() / fs::path(u8"2025_03_07_0930_未命名");
    EXPECT_TRUE(fs::is_directory(untitled)) << "the folder has its final name before the process ends";
    dispatch.advance(AutoTest::formDelay);
    EXPECT_EQ(store::MeetingArchive::readMeta(untitled)->note, std::nullopt) << "what was skipped is not answered";
    testing::internal::GetCapturedStdout();
}

TEST_F(AutoTestTest, TellsADiscardedFolderThatIsStillThere) {
    EXPECT_THAT(run({.seconds = 3.0, .practice = true, .keep = false}), HasSubstr(" folder gone=no\n"));
}

TEST_F(AutoTestTest, AStartThatFailsIsAFailure) {
    permissions.microphone = false;
    EXPECT_EQ(run({.seconds = 3.0}), "auto-test failed: 沒有麥克風權限，按這裡打開設定\n");
    EXPECT_THAT(exits, ElementsAre(1));
    EXPECT_EQ(quits, 0);
}

TEST_F(AutoTestTest, ACafLeftBehindIsAFailure) {
    roles.conversionErrors["system.caf"] = u"bad"_s;
    const auto lines = run({.seconds = 3.0});
    EXPECT_THAT(lines, HasSubstr("auto-test failed: CAF left behind: system.caf\n"));
    EXPECT_THAT(lines, Not(HasSubstr("mic.m4a is missing")));
    EXPECT_THAT(exits, ElementsAre(1));
    EXPECT_EQ(quits, 0);
}

TEST_F(AutoTestTest, WaitsForAIWorkBeforeItEnds) {
    aiBusy = true;
    (void)run({.seconds = 3.0});
    EXPECT_EQ(quits, 0);
    dispatch.advance(100.0);
    EXPECT_EQ(quits, 0);
    aiBusy = false;
    aiWaiting = true; // between two jobs none runs
    dispatch.advance(100.0);
    EXPECT_EQ(quits, 0);
    aiWaiting = false;
    dispatch.advance(0.2 + AutoTest::endDelay);
    EXPECT_EQ(quits, 1);
}

TEST_F(AutoTestTest, WaitsForAIWorkForFiveMinutesAtMost) {
    aiBusy = true;
    (void)run({.seconds = 3.0});
    dispatch.advance(300.0 - 3.0);
    EXPECT_EQ(quits, 0);
    dispatch.advance(3.0 + 0.2 + AutoTest::endDelay);
    EXPECT_EQ(quits, 1);
}

class AutoTestFailuresTest : public testing::Test {
protected:
    AutoTestFailuresTest() {
        std::ofstream(folder / "mic.m4a") << "sound";
        writeMeta(u"2025-03-07T10:00:00+08:00"_s);
    }

    void writeMeta(const std::optional<QString>& end) {
        store::MeetingMeta meta;
        meta.start = u"2025-03-07T09:30:12+08:00"_s;
        meta.end = end;
        ASSERT_TRUE(store::MeetingArchive::writeMeta(meta, folder.path).has_value());
    }

    fakes::TemporaryFolder folder;
};

TEST_F(AutoTestFailuresTest, ACompleteFolderHasNone) {
    EXPECT_EQ(AutoTest::failures(folder.path), QStringList());
}

TEST_F(AutoTestFailuresTest, EachLackIsNamed) {
    fs::remove(folder / "mic.m4a");
    std::ofstream(folder / "mic.caf") << "";
    std::ofstream(folder / "system.caf") << "";
    writeMeta(std::nullopt);
    const QStringList expected = {u"mic.m4a is missing"_s, u"CAF left behind: mic.caf"_s,
                                  u"CAF left behind: system.caf"_s, u"meta.json has no end"_s};
    EXPECT_EQ(AutoTest::failures(folder.path), expected);
}

TEST_F(AutoTestFailuresTest, ARecordThatCannotBeReadHasNoEnd) {
    std::ofstream(folder / "meta.json") << "rubbish";
    EXPECT_EQ(AutoTest::failures(folder.path), QStringList{u"meta.json has no end"_s});
}

} // namespace
} // namespace selftest
