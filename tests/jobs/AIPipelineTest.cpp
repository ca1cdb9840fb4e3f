#include "jobs/AIPipeline.h"

#include "MeetingFolder.h"
#include "fakes/ManualScheduler.h"
#include "store/MeetingLibrary.h"

#include <QTimeZone>
#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ai::AIFailure;
using ai::AIRequest;
using ai::AIStatus;
using ai::AIStep;
using testing::ElementsAre;
using testing::IsEmpty;
namespace AIPipeline = jobs::AIPipeline;

namespace {

const QDateTime now(QDate(2025, 3, 7), QTime(12, 0), QTimeZone::utc());

class AIPipelineTest : public MeetingFolders {
protected:
    /// Runs the request with steps that only note that they ran; those in `failing` fail.
    ai::StepResult run(const AIRequest& request) {
        const auto step = [this](const char* name, AIStep which) {
            return [this, name, which](const std::filesystem::path&, const ai::StepContext& context) -> ai::StepResult {
                happened.emplace_back(name);
                EXPECT_TRUE(context.automatic == expectAutomatic);
                clock.set(clock.now() + 2.5);
                if (failing == name) {
                    return std::unexpected(AIFailure{which, u"why"_s});
                }
                return {};
            };
        };
        const AIPipeline::Steps steps{.transcribe = step("transcribe", AIStep::Transcribe),
                                      .summarize = step("summarize", AIStep::Summarize),
                                      .coach = step("coach", AIStep::Summarize)};
        const AIPipeline::Hooks hooks{
            .clock = clock,
            .timed = [this](AIStep which, double seconds) { timings.emplace_back(which, seconds); },
            .progress =
                [this](const AIStatus& status) {
                    happened.emplace_back(status == AIStatus::transcribing() ? "transcribing" : "summarizing");
                }};
        expectAutomatic = request.automatic;
        return AIPipeline::run(request,
                               {.tools = {},
                                .runner = runner,
                                .workRoot = "/nonexistent",
                                .clock = wallClock,
                                .discard = {},
                                .automatic = request.automatic},
                               steps, hooks);
    }

    std::vector<AIRequest> resumed(const QSet<QString>& skipping = {}) {
        return AIPipeline::resumeRequests(meetings(), now, skipping);
    }

    /// A meeting with a microphone track that ended so many seconds before now.
    std::filesystem::path endedAgo(qint64 milliseconds, const std::string& name = "2025_03_07_0900_a") {
        const auto folder = meeting(name);
        const auto end = now.addMSecs(-milliseconds);
        write(folder / "meta.json", "{\"end\": \"" + end.toString(Qt::ISODate).toUtf8() + "\"}");
        write(folder / "mic.m4a", "sound");
        return folder;
    }

    fakes::ManualClock clock;
    fakes::ManualWallClock wallClock;
    ai::ProcessRunner runner;
    std::vector<std::string> happened;
    std::vector<std::pair<AIStep, double>> timings;
    std::string failing;
    bool expectAutomatic = false;
};

} // namespace

TEST_F(AIPipelineTest, AMeetingWithoutATranscriptGoesThroughBothSteps) {
    EXPECT_TRUE(run({.folder = meeting()}));
    EXPECT_THAT(happened, ElementsAre("transcribing", "transcribe", "summarizing", "summarize"));
    EXPECT_THAT(timings, ElementsAre(std::pair(AIStep::Transcribe, 2.5), std::pair(AIStep::Summarize, 2.5)));
}

TEST_F(AIPipelineTest, APracticeTakeGetsAdviceInsteadOfASummary) {
    makePractice(meeting());
    EXPECT_TRUE(run({.folder = meeting()}));
    EXPECT_THAT(happened, ElementsAre("transcribing", "transcribe", "summarizing", "coach"));
}

TEST_F(AIPipelineTest, ATranscriptThatIsThereIsUsed) {
    giveTranscript(meeting());
    EXPECT_TRUE(run({.folder = meeting()}));
    EXPECT_THAT(happened, ElementsAre("summarizing", "summarize"));
}

TEST_F(AIPipelineTest, AskedForAlwaysItIsMadeAnew) {
    giveTranscript(meeting());
    EXPECT_TRUE(run({.folder = meeting(), .transcribe = AIRequest::Transcribe::Always}));
    EXPECT_THAT(happened, ElementsAre("transcribing", "transcribe", "summarizing", "summarize"));
}

TEST_F(AIPipelineTest, WithoutSummaryTheTranscriptIsAll) {
    EXPECT_TRUE(run({.folder = meeting(), .summarize = false}));
    EXPECT_THAT(happened, ElementsAre("transcribing", "transcribe"));
    giveTranscript(meeting());
    happened.clear();
    EXPECT_TRUE(run({.folder = meeting(), .summarize = false}));
    EXPECT_THAT(happened, IsEmpty());
}

TEST_F(AIPipelineTest, AFailedTranscriptionSkipsTheRestAndIsNotTimed) {
    failing = "transcribe";
    const auto result = run({.folder = meeting()});
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), (AIFailure{AIStep::Transcribe, u"why"_s}));
    EXPECT_THAT(happened, ElementsAre("transcribing", "transcribe"));
    EXPECT_THAT(timings, IsEmpty());
}

TEST_F(AIPipelineTest, AFailedSummaryLeavesTheTimeOfTheTranscription) {
    failing = "summarize";
    EXPECT_FALSE(run({.folder = meeting()}));
    EXPECT_THAT(timings, ElementsAre(std::pair(AIStep::Transcribe, 2.5)));
}

TEST_F(AIPipelineTest, AutomaticWorkWhoseResultIsThereRunsNothing) {
    write(meeting() / "summary.json", "anything");
    EXPECT_TRUE(run({.folder = meeting(), .transcribe = AIRequest::Transcribe::Always, .automatic = true}));
    EXPECT_THAT(happened, IsEmpty());
    EXPECT_TRUE(run({.folder = meeting(), .summarize = false, .automatic = true}));
    EXPECT_THAT(happened, ElementsAre("transcribing", "transcribe")) << "a transcript alone is not the summary";
}

TEST_F(AIPipelineTest, TheUsersOwnRequestRunsAlthoughTheResultIsThere) {
    write(meeting() / "summary.json", "anything");
    giveTranscript(meeting());
    EXPECT_TRUE(run({.folder = meeting()}));
    EXPECT_THAT(happened, ElementsAre("summarizing", "summarize"));
}

TEST_F(AIPipelineTest, TheResultOfAPracticeTakeIsItsAdvice) {
    makePractice(meeting());
    write(meeting() / "summary.json", "not this one");
    EXPECT_TRUE(AIPipeline::autoRequest(meeting()));
    write(meeting() / "coach.json", "this one");
    EXPECT_FALSE(AIPipeline::autoRequest(meeting()));
    EXPECT_TRUE(run({.folder = meeting(), .automatic = true}));
    EXPECT_THAT(happened, IsEmpty());
}

TEST_F(AIPipelineTest, TheSystemAsksForBothStepsOfWhatHasNoResult) {
    EXPECT_EQ(AIPipeline::autoRequest(meeting()), (AIRequest{.folder = meeting(),
                                                             .transcribe = AIRequest::Transcribe::IfMissing,
                                                             .summarize = true,
                                                             .automatic = true}));
    write(meeting() / "summary.json", "");
    EXPECT_EQ(AIPipeline::autoRequest(meeting()), std::nullopt);
}

TEST_F(AIPipelineTest, TheFirstAutomaticFailureIsCountedAndTheSecondEndsIt) {
    const auto folder = meeting();
    AIPipeline::recordOutcome(folder, true, true);
    EXPECT_EQ(read(folder / ".tarvex-ai-failures"), "1\n");
    EXPECT_FALSE(std::filesystem::exists(folder / ".tarvex-ai-cancelled"));
    AIPipeline::recordOutcome(folder, true, true);
    EXPECT_EQ(read(folder / ".tarvex-ai-failures"), "2\n");
    EXPECT_EQ(read(folder / ".tarvex-ai-cancelled"), "");
}

TEST_F(AIPipelineTest, ACountThatIsNoNumberIsZero) {
    const auto folder = meeting();
    for (const char* content : {"abc", "", " \n", "1.5", "0x10", "99999999999999999999999", "\xff"}) {
        write(folder / ".tarvex-ai-failures", content);
        AIPipeline::recordOutcome(folder, true, true);
        EXPECT_EQ(read(folder / ".tarvex-ai-failures"), "1\n") << content;
    }
    EXPECT_FALSE(std::filesystem::exists(folder / ".tarvex-ai-cancelled"));
    write(folder / ".tarvex-ai-failures", " 7 \n");
    AIPipeline::recordOutcome(folder, true, true);
    EXPECT_EQ(read(folder / ".tarvex-ai-failures"), "8\n");
    write(folder / ".tarvex-ai-failures", "9223372036854775807");
    AIPipeline::recordOutcome(folder, true, true);
    EXPECT_EQ(read(folder / ".tarvex-ai-failures"), "9223372036854775807\n") << "it does not overflow";
}

TEST_F(AIPipelineTest, ASuccessRemovesBothMarkersWhoeverAsked) {
    const auto folder = meeting();
    for (const bool automatic : {true, false}) {
        write(folder / ".tarvex-ai-failures", "2\n");
        write(folder / ".tarvex-ai-cancelled", "");
        AIPipeline::recordOutcome(folder, automatic, false);
        EXPECT_FALSE(std::filesystem::exists(folder / ".tarvex-ai-failures"));
        EXPECT_FALSE(std::filesystem::exists(folder / ".tarvex-ai-cancelled"));
    }
}

TEST_F(AIPipelineTest, AManualFailureLeavesBothMarkersAsTheyWere) {
    const auto folder = meeting();
    AIPipeline::recordOutcome(folder, false, true);
    EXPECT_TRUE(std::filesystem::is_empty(folder));
    write(folder / ".tarvex-ai-failures", "1\n");
    AIPipeline::recordOutcome(folder, false, true);
    EXPECT_EQ(read(folder / ".tarvex-ai-failures"), "1\n");
}

TEST_F(AIPipelineTest, AnOutcomeOfAFolderThatIsGoneDoesNotMakeItAgain) {
    const auto folder = meetings() / "gone";
    AIPipeline::recordOutcome(folder, true, true);
    AIPipeline::recordOutcome(folder, true, false);
    EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST_F(AIPipelineTest, AMeetingWithAudioIsResumed) {
    const auto folder = endedAgo(1000);
    EXPECT_THAT(
        resumed(),
        ElementsAre(AIRequest{
            .folder = folder, .transcribe = AIRequest::Transcribe::IfMissing, .summarize = true, .automatic = true}));
}

TEST_F(AIPipelineTest, SevenDaysAreResumedOneSecondMoreIsNot) {
    endedAgo(7LL * 86400 * 1000);
    EXPECT_EQ(resumed().size(), 1U);
    endedAgo(7LL * 86400 * 1000 + 1000);
    EXPECT_THAT(resumed(), IsEmpty());
}

TEST_F(AIPipelineTest, AnEndSixtySecondsInTheFutureIsResumedSixtyOneIsNot) {
    endedAgo(-60'000);
    EXPECT_EQ(resumed().size(), 1U);
    endedAgo(-61'000);
    EXPECT_THAT(resumed(), IsEmpty());
}

TEST_F(AIPipelineTest, WithoutAnEndOnlyNotesMakeAMeetingCountByItsStart) {
    const auto folder = meeting();
    write(folder / "meta.json", R"({"start": "2025-03-07T11:00:00Z", "end": null})");
    write(folder / "mic.m4a", "sound");
    giveTranscript(folder);
    EXPECT_THAT(resumed(), IsEmpty());
    write(folder / "notes.md", "");
    EXPECT_EQ(resumed().size(), 1U);
    std::filesystem::rename(folder, meetings() / "no date");
    write(meetings() / "no date" / "meta.json", "{}");
    EXPECT_THAT(resumed(), IsEmpty()) << "neither end nor start";
}

TEST_F(AIPipelineTest, WhatHasItsResultOrWasGivenUpIsNotResumed) {
    const auto folder = endedAgo(1000);
    write(folder / "summary.json", "");
    EXPECT_THAT(resumed(), IsEmpty());
    std::filesystem::remove(folder / "summary.json");
    write(folder / ".tarvex-ai-failures", "1\n");
    EXPECT_EQ(resumed().size(), 1U) << "one failure is tried again";
    write(folder / ".tarvex-ai-cancelled", "");
    EXPECT_THAT(resumed(), IsEmpty());
}

TEST_F(AIPipelineTest, WithoutAudioOnlyATranscriptIsWorthResuming) {
    const auto folder = endedAgo(1000);
    std::filesystem::remove(folder / "mic.m4a");
    EXPECT_THAT(resumed(), IsEmpty());
    write(folder / "transcript.json", R"({"segments": []})");
    EXPECT_THAT(resumed(), IsEmpty());
    giveTranscript(folder);
    EXPECT_EQ(resumed().size(), 1U);
    std::filesystem::remove(folder / "transcript.json");
    write(folder / "system.m4a", "sound");
    EXPECT_EQ(resumed().size(), 1U);
}

TEST_F(AIPipelineTest, TheOldestIsResumedFirstHoweverTheFoldersAreNamed) {
    const auto younger = endedAgo(1'000, "2025_03_01_0900_a");
    const auto older = endedAgo(60'000, "2025_03_06_0900_b");
    const auto oldest = endedAgo(90'000, "zzz");
    std::vector<std::filesystem::path> order;
    for (const auto& request : resumed()) {
        order.push_back(request.folder);
    }
    EXPECT_THAT(order, ElementsAre(oldest, older, younger));
}

TEST_F(AIPipelineTest, SkippedFoldersAreLeftOut) {
    const auto folder = endedAgo(1000);
    EXPECT_THAT(resumed({base::standardizedText(folder)}), IsEmpty());
}

TEST_F(AIPipelineTest, TheLimitsAreTheAgreedOnes) {
    EXPECT_EQ(AIPipeline::automaticTries, 2);
    EXPECT_EQ(AIPipeline::resumeAge, 604800.0);
    EXPECT_EQ(AIPipeline::resumeFuture, 60.0);
}
