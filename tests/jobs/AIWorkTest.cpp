// The queue, the real steps and the fake tools together.

#include "MeetingFolder.h"
#include "ai/MeetingContent.h"
#include "ai/StoredObject.h"
#include "copy/Strings.h"
#include "fakes/FakeTools.h"
#include "fakes/ManualScheduler.h"
#include "jobs/AIQueue.h"
#include "store/AppPaths.h"
#include "store/MeetingLibrary.h"

#include <QTimeZone>
#include <gmock/gmock.h>

#include <csignal>
#include <fstream>
#include <sys/stat.h>
#include <sys/wait.h>

using namespace Qt::StringLiterals;
using ai::AIRequest;
using ai::AIStatus;
using jobs::AIQueue;
using Path = std::filesystem::path;
namespace AIPipeline = jobs::AIPipeline;

namespace {

class AIWorkTest : public MeetingFolders {
protected:
    void SetUp() override {
        MeetingFolders::SetUp();
        write(folder() / "meta.json",
              R"({"start": "2025-03-07T09:00:00+08:00", "end": "2025-03-07T09:01:30+08:00", "duration": 90,
                                        "people": [], "screenshotsEnabled": true})");
        write(folder() / "mic.m4a", "sound");
        write(folder() / "system.m4a", "sound");
        makeQueue();
    }

    Path folder() const { return meeting("2025_03_07_0900_a"); }

    void makeQueue() {
        queue = std::make_unique<AIQueue>(
            AIQueue::Parts{.dispatch = dispatch,
                           .clock = dispatch.clock,
                           .wallClock = wallClock,
                           .steps = AIPipeline::Steps::real(),
                           .estimator = jobs::AIEstimator([](const QString&) { return std::nullopt; },
                                                          [](const QString&, const base::Json&) {}),
                           .beginActivity = [](const QString&) { return std::shared_ptr<void>(); },
                           .discard = ai::AIPipeline::trash(wallClock)});
        queue->tools = fakes::FakeTools::tools;
    }

    std::vector<AIRequest> resumed() const {
        return AIPipeline::resumeRequests(meetings(), QDateTime(QDate(2025, 3, 7), QTime(2, 0), QTimeZone::utc()), {});
    }

    std::optional<AIStatus> statusAfter(const AIRequest& request) {
        queue->enqueue(request);
        dispatch.runDue();
        return queue->status(request.folder);
    }

    AIRequest automatic() const {
        return {
            .folder = folder(), .transcribe = AIRequest::Transcribe::IfMissing, .summarize = true, .automatic = true};
    }

    bool has(const char* name) const { return std::filesystem::exists(folder() / name); }

    fakes::FakeTools fake;
    fakes::ManualDispatch dispatch;
    fakes::ManualWallClock wallClock;
    std::unique_ptr<AIQueue> queue;
};

} // namespace

TEST_F(AIWorkTest, ARecordingBecomesATranscriptAndASummary) {
    EXPECT_EQ(statusAfter(automatic()), std::nullopt);
    const auto record = store::MeetingLibrary::record(folder());
    EXPECT_TRUE(ai::MeetingContent::transcript(record).isReady());
    EXPECT_TRUE(ai::MeetingContent::summary(record).isReady());
    EXPECT_TRUE(resumed().empty());
}

TEST_F(AIWorkTest, APracticeTakeBecomesATranscriptAndAdvice) {
    write(folder() / "meta.json",
          R"({"start": "2025-03-07T09:00:00+08:00", "duration": 90, "people": [], "mode": "practice"})");
    EXPECT_EQ(statusAfter(automatic()), std::nullopt);
    EXPECT_TRUE(has("coach.json"));
    EXPECT_FALSE(has("summary.json"));
}

TEST_F(AIWorkTest, ANewSummaryPutsTheOldOneIntoTheTrash) {
    write(folder() / "summary.json", R"({"conclusion": "old"})");
    auto request = automatic();
    request.automatic = false;
    EXPECT_EQ(statusAfter(request), std::nullopt);
    ASSERT_TRUE(std::filesystem::exists(store::AppPaths::testTrash()));
    const auto trashed = std::filesystem::directory_iterator(store::AppPaths::testTrash())->path();
    EXPECT_EQ(read(trashed), R"({"conclusion": "old"})");
    EXPECT_NE(read(folder() / "summary.json"), R"({"conclusion": "old"})");
}

TEST_F(AIWorkTest, AFailedSummaryKeepsTheTranscriptForTheNextLaunch) {
    fake.planClaude(R"({"exit": 1, "stderr": "no network", "stdout": ""})");
    const auto status = statusAfter(automatic());
    ASSERT_TRUE(status && status->failure() != nullptr);
    EXPECT_EQ(status->failure()->message, copy::Strings::aiErrClaude(u"no network"_s));
    EXPECT_TRUE(has("transcript.json"));
    EXPECT_EQ(resumed(), std::vector{automatic()});

    makeQueue(); // the next launch
    EXPECT_EQ(queue->status(folder()), std::nullopt) << "a failure is not remembered on the disk";
    fake.planClaude("{}");
    EXPECT_EQ(statusAfter(resumed().front()), std::nullopt);
    EXPECT_EQ(fake.whisperCalls().size(), 2U) << "the transcript was not made again";
    EXPECT_FALSE(has(".tarvex-ai-failures"));
}

TEST_F(AIWorkTest, AMeetingThatFailsAtTwoLaunchesIsLeftAloneAtTheThird) {
    fake.planWhisper(R"({"*": {"exit": 1}})");
    for (int launch = 1; launch <= 2; ++launch) {
        makeQueue();
        ASSERT_EQ(resumed().size(), 1U) << launch;
        EXPECT_NE(statusAfter(resumed().front()), std::nullopt);
    }
    EXPECT_TRUE(resumed().empty());
    fake.planWhisper("{}");
    auto own = automatic();
    own.automatic = false;
    EXPECT_EQ(statusAfter(own), std::nullopt);
    EXPECT_FALSE(has(".tarvex-ai-cancelled"));
}

TEST_F(AIWorkTest, AFolderMovedWhileItsJobRunsFailsAndIsNotMadeAgain) {
    fake.planClaude("{\"remove\": \"" + base::pathText(folder()).toUtf8() + "\"}");
    const auto gone = folder();
    EXPECT_NE(statusAfter(automatic()), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(gone));
}

TEST_F(AIWorkTest, AProgramKilledDuringAJobLeavesNoToolBehindAndResumesAtTheNextLaunch) {
    const auto announce = fake.folder() / "announce";
    ASSERT_EQ(::mkfifo(announce.c_str(), 0600), 0);
    fake.planWhisper("{\"mic\": {\"hang\": true, \"ignoreTerm\": true, \"announce\": \"" +
                     QByteArray(announce.c_str()) + "\"}}");
    const pid_t program = ::fork();
    if (program == 0) {
        queue->enqueue(automatic());
        dispatch.runDue();
        ::_exit(0);
    }
    pid_t tool = 0;
    std::ifstream(announce) >> tool;
    ASSERT_GT(tool, 0);
    ::kill(program, SIGKILL);
    ::waitpid(program, nullptr, 0);
    const auto gone = [&] {
        std::ifstream file("/proc/" + std::to_string(tool) + "/stat");
        const std::string stat((std::istreambuf_iterator<char>(file)), {});
        return stat.empty() || stat.substr(stat.rfind(')')).find(" Z ") != std::string::npos;
    };
    while (!gone()) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(has("transcript.json"));
    EXPECT_FALSE(has(".tarvex-ai-failures")) << "a killed program has not failed";

    store::AppPaths::clearWork();
    EXPECT_TRUE(std::filesystem::is_empty(store::AppPaths::work()));
    fake.planWhisper("{}");
    EXPECT_EQ(statusAfter(resumed().at(0)), std::nullopt);
    EXPECT_TRUE(has("summary.json"));
}
