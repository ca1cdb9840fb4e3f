#include "entry/AIWork.h"

#include "entry/AppDelegate.h"
#include "fakes/FakeKeepAwake.h"
#include "fakes/ManualScheduler.h"
#include "fakes/ScopedVariable.h"
#include "fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

using namespace entry;
using namespace Qt::StringLiterals;
using base::fs::path;

namespace {

class AIWorkTest : public testing::Test {
protected:
    AIWorkTest() { std::filesystem::create_directories(root / "Meetings"); }

    /// A finished meeting of an hour ago.
    path meeting(const std::string& name, bool withTranscript = false) const {
        const path folder = root / "Meetings" / name;
        std::filesystem::create_directories(folder);
        write(folder / "meta.json",
              R"({"start":"2025-03-07T08:00:00+08:00","end":"2025-03-07T08:30:00+08:00","duration":1800,)"
              R"("people":[],"screenshotsEnabled":false})");
        write(folder / "mic.m4a", "sound");
        if (withTranscript) {
            write(folder / "transcript.json", R"({"segments":[{"start":0,"end":1,"speaker":"me","text":"a"}]})");
        }
        return folder;
    }

    static void write(const path& file, const QByteArray& bytes) { ASSERT_TRUE(base::replaceFile(file, bytes)); }

    AIWork& work() {
        if (!m_work) {
            m_work = std::make_unique<AIWork>(AIWork::Services{
                .dispatch = dispatch,
                .hostClock = dispatch.clock,
                .wallClock = wallClock,
                .defaults = defaults,
                .keepAwake = keepAwake,
                .steps = {.transcribe = step("transcribe"), .summarize = step("summarize"), .coach = step("coach")},
                .tools = [this] { return tools; }});
            m_work->onFinished = [this] { ++finished; };
        }
        return *m_work;
    }

    jobs::AIPipeline::Steps::Step step(const std::string& name) {
        return [this, name](const path& folder, const ai::StepContext&) -> ai::StepResult {
            ran.push_back(name + " " + folder.filename().string());
            return {};
        };
    }

    fakes::TemporaryFolder root;
    fakes::ScopedVariable home{"TARVEX_HOME", root.path.c_str()};
    fakes::ManualDispatch dispatch;
    fakes::ManualWallClock wallClock;
    fakes::FakeKeepAwake keepAwake;
    base::PreferenceStore defaults{root / "preferences.json"};
    ai::AITools tools{.whisper = "/bin/true", .claude = "/bin/true"};
    std::vector<std::string> ran;
    int finished = 0;

private:
    std::unique_ptr<AIWork> m_work;
};

TEST_F(AIWorkTest, AFinishedMeetingIsTranscribedAndSummarized) {
    work().autoGenerate(meeting("a"));
    dispatch.runDue();
    EXPECT_EQ(ran, (std::vector<std::string>{"transcribe a", "summarize a"}));
    EXPECT_EQ(finished, 1);
    EXPECT_EQ(keepAwake.reasons, (std::vector<QString>{u"Tarvex transcript and summary"_s}));
    EXPECT_EQ(*keepAwake.held, 0);
}

TEST_F(AIWorkTest, WithTheSwitchOffNothingIsQueuedByItself) {
    const fakes::ScopedVariable resume("TARVEX_AI_RESUME", "1");
    defaults.set(AppDelegate::autoSummaryKey.toString(), false);
    work().autoGenerate(meeting("a"));
    work().resumeQueue({});
    dispatch.runDue();
    EXPECT_TRUE(ran.empty());
}

TEST_F(AIWorkTest, AMissingToolIsToldAfterARecording) {
    tools.claude = "/nowhere";
    testing::internal::CaptureStdout();
    work().autoGenerate(meeting("a"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ai: skipped a, whisper or claude not found\n");
    dispatch.runDue();
    EXPECT_TRUE(ran.empty());
}

TEST_F(AIWorkTest, ATranscriptThatIsThereNeedsNoSpeechTool) {
    tools.whisper = "/nowhere";
    work().autoGenerate(meeting("a"));
    work().autoGenerate(meeting("b", true));
    dispatch.runDue();
    EXPECT_EQ(ran, std::vector<std::string>{"summarize b"});
}

TEST_F(AIWorkTest, WhatWasLeftUndoneIsResumedWithoutPendingFolders) {
    const fakes::ScopedVariable resume("TARVEX_AI_RESUME", "1");
    meeting("2025_03_07_0800_a");
    const auto pending = meeting("2025_03_07_0801_b");
    testing::internal::CaptureStdout();
    work().resumeQueue({base::standardizedText(pending)});
    dispatch.runDue();
    EXPECT_TRUE(testing::internal::GetCapturedStdout().starts_with("ai: resume 2025_03_07_0800_a\nai: start "));
    EXPECT_EQ(ran, (std::vector<std::string>{"transcribe 2025_03_07_0800_a", "summarize 2025_03_07_0800_a"}));
}

TEST_F(AIWorkTest, ARequestThatLacksAToolIsDroppedWithoutAWord) {
    const fakes::ScopedVariable resume("TARVEX_AI_RESUME", "1");
    tools.whisper = "/nowhere";
    meeting("2025_03_07_0800_a");
    testing::internal::CaptureStdout();
    work().resumeQueue({});
    dispatch.runDue();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(ran.empty());
}

TEST_F(AIWorkTest, InTestModeResumingMustBeAskedFor) {
    meeting("2025_03_07_0800_a");
    work().resumeQueue({});
    dispatch.runDue();
    EXPECT_TRUE(ran.empty());
}

TEST_F(AIWorkTest, TheControllerHearsHowTheQueueStands) {
    AppSeams seams;
    work().connect(seams, [] { return store::MeetingLibrary::FolderSet(); });
    EXPECT_FALSE(seams.ai.busy());
    seams.autoGenerate(meeting("a"));
    EXPECT_TRUE(seams.ai.hasWork());
    EXPECT_FALSE(seams.ai.summarizing());
    seams.ai.holdFurther();
    dispatch.runDue();
    EXPECT_FALSE(seams.ai.busy());
    seams.autoGenerate(meeting("b"));
    EXPECT_FALSE(seams.ai.hasWork()) << "what is held does not start";
}

} // namespace
