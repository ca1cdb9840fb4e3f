#include "jobs/AIQueue.h"

#include "MeetingFolder.h"
#include "copy/Strings.h"
#include "fakes/ManualScheduler.h"

#include <gmock/gmock.h>

#include <stdexcept>

using namespace Qt::StringLiterals;
using ai::AIFailure;
using ai::AIRequest;
using ai::AIStatus;
using ai::AIStep;
using jobs::AIQueue;
using testing::ElementsAre;
using testing::IsEmpty;
using Path = std::filesystem::path;

namespace {

constexpr auto always = AIRequest::Transcribe::Always;
constexpr auto ifMissing = AIRequest::Transcribe::IfMissing;

class AIQueueTest : public MeetingFolders {
protected:
    void SetUp() override {
        MeetingFolders::SetUp();
        queue = std::make_unique<AIQueue>(AIQueue::Parts{
            .dispatch = dispatch,
            .clock = dispatch.clock,
            .wallClock = wallClock,
            .steps = {.transcribe = step("transcribe"), .summarize = step("summarize"), .coach = step("coach")},
            .estimator = jobs::AIEstimator(
                [this](const QString& key) {
                    const auto found = stored.find(key);
                    return found == stored.end() ? std::nullopt : std::optional(found->second);
                },
                [this](const QString& key, const base::Json& value) { stored.insert_or_assign(key, value); }),
            .beginActivity =
                [this](const QString& reason) {
                    reasons.push_back(reason);
                    return std::shared_ptr<void>(static_cast<void*>(this), [this](void*) { ++activitiesEnded; });
                },
            .discard = [](const Path&) { return std::expected<void, base::FileError>{}; }});
        queue->tools = [this] {
            ++toolReads;
            return ai::AITools{.whisper = "/w", .claude = "/c"};
        };
        queue->onChange = [this](const Path& folder) { changes.push_back(folder.filename().native()); };
        queue->onFinished = [this](const AIRequest& request, const std::optional<AIFailure>& failure) {
            finished.emplace_back(request, failure);
            if (whenFinished) {
                whenFinished();
            }
        };
    }

    AIRequest manual(const std::string& name, AIRequest::Transcribe transcribe = ifMissing) const {
        return {.folder = meeting(name), .transcribe = transcribe, .summarize = true, .automatic = false};
    }

    AIRequest automatic(const std::string& name) const {
        auto request = manual(name);
        request.automatic = true;
        return request;
    }

    /// A step that notes its run, takes some time, and does what `during` says or ends as `outcome` says.
    jobs::AIPipeline::Steps::Step step(const std::string& name) {
        return [this, name](const Path& folder, const ai::StepContext& context) -> ai::StepResult {
            ran.push_back(name + " " + folder.filename().native());
            lastContext = {context.tools, context.workRoot, context.automatic};
            dispatch.clock.set(dispatch.clock.now() + 3.0);
            if (during) {
                during();
            }
            if (cancelsDuringStep) {
                queue->cancelRunning();
            }
            const auto output = context.runner.run({.executable = "/bin/true", .timeout = 60.0});
            runnerWasCancelled = output && output->cancelled;
            const auto found = outcome.find(name);
            return found == outcome.end() ? ai::StepResult{} : found->second();
        };
    }

    static std::function<ai::StepResult()> fails(AIStep step, const QString& message) {
        return [=] { return ai::StepResult(std::unexpected(AIFailure{step, message})); };
    }

    QByteArray storedText(const QString& key) const {
        const auto found = stored.find(key);
        return found == stored.end() ? QByteArray() : base::writeCompactJson(found->second);
    }

    struct SeenContext {
        ai::AITools tools;
        Path workRoot;
        bool automatic = false;
    };

    fakes::ManualDispatch dispatch;
    fakes::ManualWallClock wallClock;
    std::unique_ptr<AIQueue> queue;
    std::vector<std::string> ran;
    std::vector<std::string> changes;
    std::vector<std::pair<AIRequest, std::optional<AIFailure>>> finished;
    std::map<QString, base::Json> stored;
    std::vector<QString> reasons;
    std::map<std::string, std::function<ai::StepResult()>> outcome;
    std::function<void()> during;
    std::function<void()> whenFinished;
    SeenContext lastContext;
    bool cancelsDuringStep = false;
    bool runnerWasCancelled = false;
    int activitiesEnded = 0;
    int toolReads = 0;
};

} // namespace

TEST_F(AIQueueTest, TheWorkerHasItsLabelAndIsNotUrgent) {
    EXPECT_THAT(dispatch.madeQueues,
                ElementsAre(std::pair(std::string("com.orvane.tarvex.ai"), base::Priority::Utility)));
}

TEST_F(AIQueueTest, AnIdleQueueHasNothing) {
    EXPECT_FALSE(queue->busy());
    EXPECT_FALSE(queue->hasWork());
    EXPECT_EQ(queue->waiting(), 0U);
    EXPECT_EQ(queue->runningStatus(), std::nullopt);
    EXPECT_EQ(queue->status(meeting()), std::nullopt);
    queue->cancelRunning();
}

TEST_F(AIQueueTest, AJobRunsThroughBothStepsOnTheWorkerAndReports) {
    queue->enqueue(manual("a"));
    EXPECT_TRUE(queue->busy());
    EXPECT_THAT(ran, IsEmpty()) << "never inside enqueue";
    dispatch.runDue();
    EXPECT_THAT(ran, ElementsAre("transcribe a", "summarize a"));
    EXPECT_THAT(finished, ElementsAre(std::pair(manual("a"), std::optional<AIFailure>())));
    EXPECT_FALSE(queue->busy());
    EXPECT_EQ(queue->status(meeting("a")), std::nullopt);
    EXPECT_EQ(lastContext.tools, (ai::AITools{"/w", "/c"}));
    EXPECT_EQ(lastContext.workRoot.filename(), "tmp");
}

TEST_F(AIQueueTest, WhoAskedReachesTheStep) {
    queue->enqueue(automatic("a"));
    dispatch.runDue();
    EXPECT_TRUE(lastContext.automatic);
    queue->enqueue(manual("b"));
    dispatch.runDue();
    EXPECT_FALSE(lastContext.automatic);
}

TEST_F(AIQueueTest, APracticeTakeGetsAdvice) {
    makePractice(meeting("a"));
    queue->enqueue(manual("a"));
    dispatch.runDue();
    EXPECT_THAT(ran, ElementsAre("transcribe a", "coach a"));
    EXPECT_EQ(storedText(u"aiEstimateCoach"_s), "[3]");
    EXPECT_EQ(storedText(u"aiEstimateSummary"_s), "");
}

TEST_F(AIQueueTest, EveryChangeOfStatusIsTold) {
    queue->enqueue(manual("a"));
    EXPECT_THAT(changes, ElementsAre("a", "a")) << "queued, started";
    dispatch.runDue();
    EXPECT_THAT(changes, ElementsAre("a", "a", "a", "a", "a")) << "transcribing, summarizing, ended";
}

TEST_F(AIQueueTest, JobsRunOneAtATimeFirstInFirstOut) {
    queue->enqueue(manual("a"));
    queue->enqueue(manual("b"));
    queue->enqueue(manual("c"));
    EXPECT_EQ(queue->waiting(), 2U);
    EXPECT_EQ(queue->status(meeting("b")), AIStatus::queued());
    during = [this] { EXPECT_TRUE(queue->busy()); };
    dispatch.runDue();
    EXPECT_THAT(
        ran, ElementsAre("transcribe a", "summarize a", "transcribe b", "summarize b", "transcribe c", "summarize c"));
    EXPECT_EQ(toolReads, 3) << "tools are found anew for each job";
}

TEST_F(AIQueueTest, TheFirstStatusTellsWhetherATranscriptIsMade) {
    queue->enqueue(manual("a"));
    EXPECT_EQ(queue->status(meeting("a")), AIStatus::transcribing());
    EXPECT_EQ(queue->runningStatus(), std::pair(meeting("a"), AIStatus::transcribing()));
    dispatch.runDue();
    giveTranscript(meeting("b"));
    queue->enqueue(manual("b"));
    EXPECT_EQ(queue->status(meeting("b")), AIStatus::summarizing());
    dispatch.runDue();
    queue->enqueue(manual("b", always));
    EXPECT_EQ(queue->status(meeting("b")), AIStatus::transcribing());
}

TEST_F(AIQueueTest, ASecondRequestForAWaitingFolderWidensItInItsPlace) {
    queue->enqueue(manual("busy"));
    queue->enqueue({.folder = meeting("a"), .transcribe = ifMissing, .summarize = false, .automatic = true});
    queue->enqueue(manual("b"));
    changes.clear();
    queue->enqueue({.folder = meeting("a"), .transcribe = always, .summarize = false, .automatic = true});
    queue->enqueue({.folder = meeting("a"), .transcribe = ifMissing, .summarize = true, .automatic = false});
    queue->enqueue({.folder = meeting("a"), .transcribe = ifMissing, .summarize = false, .automatic = true});
    EXPECT_EQ(queue->waiting(), 2U);
    EXPECT_THAT(changes, IsEmpty());
    dispatch.runDue();
    ASSERT_EQ(finished.size(), 3U);
    EXPECT_EQ(finished[1].first,
              (AIRequest{.folder = meeting("a"), .transcribe = always, .summarize = true, .automatic = false}));
}

TEST_F(AIQueueTest, TwoAutomaticRequestsStayAutomatic) {
    queue->enqueue(manual("busy"));
    queue->enqueue(automatic("a"));
    queue->enqueue(automatic("a"));
    dispatch.runDue();
    EXPECT_TRUE(finished[1].first.automatic);
}

TEST_F(AIQueueTest, AManualRequestMergedIntoAnAutomaticOneIsNotCounted) {
    outcome["transcribe"] = fails(AIStep::Transcribe, u"why"_s);
    queue->enqueue(manual("busy"));
    queue->enqueue(automatic("a"));
    queue->enqueue(manual("a"));
    dispatch.runDue();
    EXPECT_FALSE(std::filesystem::exists(meeting("a") / ".tarvex-ai-failures"));
}

TEST_F(AIQueueTest, OneFolderHasOneIdentityHoweverItIsWritten) {
    queue->enqueue(manual("a"));
    EXPECT_EQ(queue->status(meeting("a") / ".." / "a" / ""), AIStatus::transcribing());
    queue->enqueue({.folder = meeting("a") / "."});
    EXPECT_EQ(queue->waiting(), 0U);
}

TEST_F(AIQueueTest, ARequestForTheRunningFolderIsDropped) {
    queue->enqueue(automatic("a"));
    changes.clear();
    queue->enqueue(manual("a", always));
    EXPECT_EQ(queue->waiting(), 0U);
    EXPECT_THAT(changes, IsEmpty());
    dispatch.runDue();
    ASSERT_EQ(finished.size(), 1U);
    EXPECT_EQ(finished.front().first, automatic("a"));
}

TEST_F(AIQueueTest, AFailureBecomesTheStatusUntilTheNextRequest) {
    outcome["transcribe"] = fails(AIStep::Transcribe, u"no disk"_s);
    queue->enqueue(automatic("a"));
    dispatch.runDue();
    EXPECT_EQ(queue->status(meeting("a")), AIStatus::failed(AIStep::Transcribe, u"no disk"_s, manual("a")));
    EXPECT_THAT(finished,
                ElementsAre(std::pair(automatic("a"), std::optional(AIFailure{AIStep::Transcribe, u"no disk"_s}))));
    queue->hold = true;
    queue->enqueue(manual("a"));
    EXPECT_EQ(queue->status(meeting("a")), AIStatus::queued());
}

TEST_F(AIQueueTest, AFailedJobDoesNotKeepTheNextFromRunning) {
    outcome["transcribe"] = fails(AIStep::Transcribe, u"why"_s);
    queue->enqueue(manual("a"));
    queue->enqueue(manual("b"));
    dispatch.runDue();
    EXPECT_THAT(ran, ElementsAre("transcribe a", "transcribe b"));
}

TEST_F(AIQueueTest, AFailedSummaryIsRetriedWithTheNewTranscript) {
    outcome["summarize"] = fails(AIStep::Summarize, u"why"_s);
    queue->enqueue(manual("a", always));
    dispatch.runDue();
    EXPECT_EQ(queue->status(meeting("a"))->failure()->request, manual("a", ifMissing));
}

TEST_F(AIQueueTest, AFailedTranscriptionIsRetriedAsItWasAsked) {
    outcome["transcribe"] = fails(AIStep::Transcribe, u"why"_s);
    queue->enqueue(manual("a", always));
    dispatch.runDue();
    EXPECT_EQ(queue->status(meeting("a"))->failure()->request, manual("a", always));
}

TEST_F(AIQueueTest, AnyOtherErrorIsAFailureOfTheSummary) {
    outcome["transcribe"] = []() -> ai::StepResult { throw std::runtime_error("out of luck"); };
    queue->enqueue(manual("a"));
    dispatch.runDue();
    EXPECT_EQ(finished.front().second, (AIFailure{AIStep::Summarize, u"out of luck"_s}));
}

TEST_F(AIQueueTest, AutomaticFailuresAreCountedAndASuccessForgetsThem) {
    outcome["transcribe"] = fails(AIStep::Transcribe, u"why"_s);
    queue->enqueue(automatic("a"));
    dispatch.runDue();
    EXPECT_EQ(read(meeting("a") / ".tarvex-ai-failures"), "1\n");
    queue->enqueue(automatic("a"));
    dispatch.runDue();
    EXPECT_EQ(read(meeting("a") / ".tarvex-ai-failures"), "2\n");
    EXPECT_TRUE(std::filesystem::exists(meeting("a") / ".tarvex-ai-cancelled"));
    outcome.clear();
    queue->enqueue(manual("a"));
    dispatch.runDue();
    EXPECT_TRUE(std::filesystem::is_empty(meeting("a")));
}

TEST_F(AIQueueTest, AnAutomaticRunThatFindsItsResultCountsAsASuccess) {
    write(meeting("a") / ".tarvex-ai-failures", "1\n");
    write(meeting("a") / "summary.json", "");
    queue->enqueue(automatic("a"));
    dispatch.runDue();
    EXPECT_THAT(ran, IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(meeting("a") / ".tarvex-ai-failures"));
}

TEST_F(AIQueueTest, AJobCutOffByQuittingCountsNeitherWay) {
    outcome["transcribe"] = fails(AIStep::Transcribe, copy::Strings::aiErrCancelled);
    write(meeting("a") / ".tarvex-ai-failures", "1\n");
    queue->enqueue(automatic("a"));
    dispatch.runDue();
    EXPECT_EQ(read(meeting("a") / ".tarvex-ai-failures"), "1\n");
    EXPECT_FALSE(std::filesystem::exists(meeting("a") / ".tarvex-ai-cancelled"));
    EXPECT_NE(queue->status(meeting("a")), std::nullopt) << "but it has failed";
}

TEST_F(AIQueueTest, CancellingStopsTheRunnerOfTheRunningJobAlone) {
    cancelsDuringStep = true;
    queue->enqueue(manual("a"));
    dispatch.runDue();
    EXPECT_TRUE(runnerWasCancelled);
    cancelsDuringStep = false;
    queue->enqueue(manual("b"));
    dispatch.runDue();
    EXPECT_FALSE(runnerWasCancelled) << "the next job has a runner of its own";
}

TEST_F(AIQueueTest, AHeldQueueStartsNothingAndHasNoWork) {
    queue->hold = true;
    queue->enqueue(manual("a"));
    dispatch.runDue();
    EXPECT_THAT(ran, IsEmpty());
    EXPECT_EQ(queue->waiting(), 1U);
    EXPECT_FALSE(queue->hasWork());
    EXPECT_FALSE(queue->busy());
    EXPECT_EQ(queue->status(meeting("a")), AIStatus::queued());
    queue->hold = false;
    EXPECT_TRUE(queue->hasWork());
}

TEST_F(AIQueueTest, HoldingDuringAJobLetsItEndAndStartsNoOther) {
    queue->enqueue(manual("a"));
    queue->enqueue(manual("b"));
    queue->hold = true;
    EXPECT_TRUE(queue->hasWork()) << "one runs";
    dispatch.runDue();
    EXPECT_THAT(ran, ElementsAre("transcribe a", "summarize a"));
    EXPECT_EQ(activitiesEnded, 1);
}

TEST_F(AIQueueTest, TheMachineIsKeptAwakeOnceForJobsInARow) {
    queue->enqueue(manual("a"));
    queue->enqueue(manual("b"));
    EXPECT_EQ(activitiesEnded, 0);
    dispatch.runDue();
    EXPECT_THAT(reasons, ElementsAre(u"Tarvex transcript and summary"_s));
    EXPECT_EQ(activitiesEnded, 1);
    queue->enqueue(manual("c"));
    dispatch.runDue();
    EXPECT_EQ(reasons.size(), 2U);
    EXPECT_EQ(activitiesEnded, 2);
}

TEST_F(AIQueueTest, ARequestFromOnFinishedRunsNext) {
    whenFinished = [this] {
        whenFinished = nullptr;
        queue->enqueue(manual("b"));
    };
    queue->enqueue(manual("a"));
    dispatch.runDue();
    EXPECT_THAT(finished, testing::SizeIs(2));
    EXPECT_EQ(activitiesEnded, 1);
}

TEST_F(AIQueueTest, TheTimesOfStepsThatSucceededAreLearned) {
    write(meeting("a") / "meta.json", R"({"duration": 10})");
    write(meeting("a") / "mic.m4a", "sound");
    outcome["summarize"] = fails(AIStep::Summarize, u"why"_s);
    queue->enqueue(manual("a"));
    dispatch.runDue();
    EXPECT_EQ(storedText(u"aiEstimateTranscribe"_s), "[[10,3]]");
    EXPECT_EQ(storedText(u"aiEstimateSummary"_s), "");
    outcome.clear();
    queue->enqueue(manual("a"));
    dispatch.runDue();
    EXPECT_EQ(storedText(u"aiEstimateSummary"_s), "[3]");
}

TEST_F(AIQueueTest, WhatRemainsIsTheEstimateWithoutTheTimeSinceTheStepBegan) {
    stored[u"aiEstimateSummary"_s] = base::Json(base::Json::Array{base::Json::integer(25)});
    const double begun = dispatch.clock.now();
    queue->enqueue(manual("a"));
    EXPECT_EQ(queue->remaining(meeting("a"), begun), 30.0);
    EXPECT_EQ(queue->remaining(meeting("a"), begun + 20.0), 10.0);
    EXPECT_EQ(queue->remaining(meeting("a"), begun + 31.0), -1.0) << "longer than estimated";
    EXPECT_EQ(queue->remaining(meeting("b"), begun), std::nullopt);
    dispatch.runDue();
    EXPECT_EQ(queue->remaining(meeting("a"), begun), std::nullopt);
}

TEST_F(AIQueueTest, TheSecondStepHasAnEstimateAndABeginningOfItsOwn) {
    stored[u"aiEstimateSummary"_s] = base::Json(base::Json::Array{base::Json::integer(25)});
    std::optional<double> atTheSecond;
    queue->onChange = [&](const Path& folder) {
        if (queue->status(folder) == AIStatus::summarizing()) {
            atTheSecond = queue->remaining(folder, dispatch.clock.now() + 10.0);
        }
    };
    queue->enqueue(manual("a"));
    dispatch.runDue();
    EXPECT_EQ(atTheSecond, 15.0);
}

TEST_F(AIQueueTest, ASecondMessageOfTheSameStepDoesNotBeginItAnew) {
    const double begun = dispatch.clock.now();
    std::optional<double> remaining;
    queue->onChange = [&](const Path& folder) {
        if (queue->status(folder) == AIStatus::transcribing()) {
            remaining = queue->remaining(folder, begun);
        }
    };
    queue->enqueue(manual("a"));
    dispatch.clock.set(begun + 5.0);
    dispatch.runDue();
    EXPECT_EQ(remaining, 30.0);
}

TEST_F(AIQueueTest, AWallClockThatJumpsChangesNoEstimate) {
    queue->enqueue(manual("a"));
    wallClock.time = wallClock.time.addDays(-400);
    EXPECT_EQ(queue->remaining(meeting("a"), dispatch.clock.now() + 1.0), 29.0);
}

TEST_F(AIQueueTest, AFolderThatIsGoneWhenItsJobStartsFailsByItself) {
    outcome["transcribe"] = fails(AIStep::Transcribe, copy::Strings::aiErrNoAudio);
    queue->enqueue(automatic("a"));
    std::filesystem::remove_all(meeting("a"));
    dispatch.runDue();
    EXPECT_EQ(finished.size(), 1U);
    EXPECT_FALSE(std::filesystem::exists(meetings() / "a" / ".tarvex-ai-failures"));
}

TEST_F(AIQueueTest, LettingGoOfTheQueueMakesWhatComesBackHarmless) {
    queue->enqueue(manual("a"));
    queue.reset();
    dispatch.runDue();
    EXPECT_THAT(finished, IsEmpty());
    EXPECT_TRUE(stored.empty());
    EXPECT_EQ(activitiesEnded, 1);
}

TEST_F(AIQueueTest, LinesTellAnotherProcessHowAJobGoes) {
    outcome["summarize"] = fails(AIStep::Summarize, u"why"_s);
    testing::internal::CaptureStdout();
    queue->enqueue(manual("a"));
    dispatch.runDue();
    outcome.clear();
    queue->enqueue(manual("b"));
    dispatch.runDue();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ai: start a\nai: transcribing a\nai: summarizing a\nai: failed a: why\n"
              "ai: start b\nai: transcribing b\nai: summarizing b\nai: done b\n");
}
