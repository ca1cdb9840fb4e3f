#include "capture/SystemAudioCapture.h"

#include "capture/CollectingSink.h"
#include "capture/RetryPolicy.h"
#include "copy/Strings.h"
#include "fakes/FakeScreenSource.h"
#include "fakes/FakeSystemAudioSource.h"
#include "fakes/ManualScheduler.h"

#include <gtest/gtest.h>

#include <array>

namespace capture {
namespace {

using namespace Qt::StringLiterals;

constexpr double tick = 0.001; // the least step that tells one moment from the next

Display display(std::uint32_t id) {
    return {.id = id, .frame = {0, 0, 100, 100}, .pixelWidth = 100, .pixelHeight = 100};
}

class SystemAudioCaptureTest : public testing::Test {
protected:
    using Outcome = std::optional<QString>;

    SystemAudioCaptureTest() {
        screens.nextContent = ScreenContent{{display(1), display(2)}, {}, 2};
        system->onError = [this](const QString& text) {
            EXPECT_TRUE(dispatch.main().isCurrent());
            reports.push_back(text);
        };
    }

    /// Asks for the start; the platform has not answered yet.
    void begin(std::uint32_t on = 7) {
        system->start(display(on), [this](const Outcome& error) {
            EXPECT_TRUE(dispatch.main().isCurrent());
            outcomes.push_back(error);
        });
        dispatch.runDue();
    }

    void run() {
        begin();
        source.confirm(0);
        dispatch.runDue();
        ASSERT_EQ(outcomes, std::vector<Outcome>{std::nullopt});
    }

    void end(std::size_t stream, const QString& error) {
        source.end(stream, error);
        dispatch.runDue();
    }

    void stop() {
        system->stop([this] {
            EXPECT_FALSE(dispatch.main().isCurrent());
            ++stops;
        });
        dispatch.runDue();
    }

    fakes::ManualDispatch dispatch;
    fakes::FakeSystemAudioSource source;
    fakes::FakeScreenSource screens;
    std::shared_ptr<CollectingSink> sink = std::make_shared<CollectingSink>(dispatch);
    std::shared_ptr<SystemAudioCapture> system = SystemAudioCapture::create(source, screens, dispatch, sink);
    std::vector<Outcome> outcomes;
    std::vector<QString> reports;
    int stops = 0;
};

TEST_F(SystemAudioCaptureTest, ControlQueueHasItsLabelAndDefaultPriority) {
    EXPECT_EQ(dispatch.madeQueues.back(),
              (std::pair<std::string, base::Priority>{"com.orvane.tarvex.system.control", base::Priority::Default}));
}

TEST_F(SystemAudioCaptureTest, LimitsAreTenAndFiveSeconds) {
    EXPECT_EQ(SystemAudioCapture::startTimeout, 10.0);
    EXPECT_EQ(SystemAudioCapture::stopTimeout, 5.0);
}

TEST_F(SystemAudioCaptureTest, AsksForStereoAt48000HzWithoutItsOwnSoundOnTheGivenDisplay) {
    begin(7);
    ASSERT_EQ(source.streams.size(), 1u);
    EXPECT_EQ(source.streams[0]->display.id, 7u);
    EXPECT_EQ(source.streams[0]->settings, (SystemAudioSource::Settings{48000.0, 2, true}));
}

TEST_F(SystemAudioCaptureTest, StartReturnsAtOnceAndOpensOnTheControlQueue) {
    system->start(display(1), [](const Outcome&) {});
    EXPECT_TRUE(source.streams.empty());
    dispatch.runDue();
    EXPECT_EQ(source.streams.size(), 1u);
}

TEST_F(SystemAudioCaptureTest, CompletionWaitsForTheConfirmation) {
    begin();
    EXPECT_TRUE(outcomes.empty());
    source.confirm(0);
    dispatch.runDue();
    EXPECT_EQ(outcomes, std::vector<Outcome>{std::nullopt});
    dispatch.advance(100);
    EXPECT_EQ(outcomes.size(), 1u);
    EXPECT_EQ(source.streams[0]->stopCount(), 0);
}

TEST_F(SystemAudioCaptureTest, StreamThatCannotBeMadeFailsTheStartAtOnce) {
    source.makeFailures = {u"no output"_s};
    begin();
    EXPECT_EQ(outcomes, std::vector<Outcome>{u"no output"_s});
    dispatch.advance(100);
    EXPECT_EQ(outcomes.size(), 1u);
    EXPECT_TRUE(reports.empty());
}

TEST_F(SystemAudioCaptureTest, RefusedStartGivesThePlatformsText) {
    begin();
    source.refuse(0, u"denied"_s);
    dispatch.advance(100);
    EXPECT_EQ(outcomes, std::vector<Outcome>{u"denied"_s});
    EXPECT_EQ(screens.contentRequests, 0) << "a failed start is not tried again";
    EXPECT_TRUE(reports.empty());
}

TEST_F(SystemAudioCaptureTest, NoAnswerInTenSecondsIsATimeoutAndStopsTheStream) {
    begin();
    dispatch.advance(SystemAudioCapture::startTimeout - tick);
    EXPECT_TRUE(outcomes.empty());
    EXPECT_EQ(source.streams[0]->stopCount(), 0);
    dispatch.advance(tick);
    EXPECT_EQ(outcomes, std::vector<Outcome>{SystemAudioTimeout{}.text()});
    EXPECT_EQ(source.streams[0]->stopCount(), 1);
}

TEST_F(SystemAudioCaptureTest, TimeoutHasItsText) {
    EXPECT_EQ(SystemAudioTimeout{}.text(), u"系統聲音等了 10 秒還沒啟動"_s);
}

TEST_F(SystemAudioCaptureTest, ConfirmationJustInTimeCounts) {
    begin();
    dispatch.advance(SystemAudioCapture::startTimeout - tick);
    source.confirm(0);
    dispatch.advance(100);
    EXPECT_EQ(outcomes, std::vector<Outcome>{std::nullopt});
    EXPECT_EQ(source.streams[0]->stopCount(), 0);
}

TEST_F(SystemAudioCaptureTest, ConfirmationAfterTheLimitIsShutDownAndNeverBecomesTheStream) {
    begin();
    dispatch.advance(10.5);
    ASSERT_EQ(outcomes, std::vector<Outcome>{SystemAudioTimeout{}.text()});
    source.confirm(0);
    dispatch.runDue();
    EXPECT_EQ(source.streams[0]->stopCount(), 2) << "once by the limit, once by the late success";
    EXPECT_EQ(outcomes.size(), 1u);
    stop();
    EXPECT_EQ(stops, 1) << "no stream to wait for";
    EXPECT_EQ(source.streams[0]->stopCount(), 2);
}

TEST_F(SystemAudioCaptureTest, LateErrorDoesNothing) {
    begin();
    dispatch.advance(10.5);
    source.refuse(0, u"late"_s);
    dispatch.advance(100);
    EXPECT_EQ(outcomes.size(), 1u);
    EXPECT_EQ(source.streams[0]->stopCount(), 1);
}

TEST_F(SystemAudioCaptureTest, BlocksReachTheWriterUnchangedOnItsQueue) {
    run();
    const std::array<std::byte, 4> samples{std::byte{1}, std::byte{2}, std::byte{3}, std::byte{4}};
    const AudioFormat format{SampleType::Float32, 48000, 2};
    source.deliver(0, {format, samples, 5.25});
    EXPECT_TRUE(sink->stamps.empty()) << "the audio thread only hands over";
    dispatch.runDue();
    EXPECT_EQ(sink->stamps, std::vector{5.25});
    EXPECT_EQ(sink->samples, std::vector(samples.begin(), samples.end()));
    EXPECT_TRUE(sink->onItsQueue);
}

TEST_F(SystemAudioCaptureTest, OnlySoundReachesTheWriter) {
    // A stream has nothing to deliver but blocks of sound: starting, ending and reopening put nothing into the track.
    run();
    end(0, u"gone"_s);
    dispatch.advance(RetryPolicy::delay);
    source.confirm(1);
    dispatch.runDue();
    stop();
    dispatch.advance(SystemAudioCapture::stopTimeout);
    EXPECT_TRUE(sink->stamps.empty());
}

TEST_F(SystemAudioCaptureTest, StopDuringAPendingStartShutsTheStreamDownAndTheCompletionStillRuns) {
    begin();
    stop();
    EXPECT_EQ(stops, 1) << "a stream that is starting isn't there yet";
    EXPECT_EQ(source.streams[0]->stopCount(), 0);
    source.confirm(0);
    dispatch.runDue();
    EXPECT_EQ(source.streams[0]->stopCount(), 1);
    EXPECT_EQ(outcomes, std::vector<Outcome>{std::nullopt});
    dispatch.advance(100);
    EXPECT_EQ(source.streams[0]->stopCount(), 1);
    EXPECT_EQ(outcomes.size(), 1u);
}

TEST_F(SystemAudioCaptureTest, StopDuringAPendingStartThatIsThenRefusedGivesTheError) {
    begin();
    stop();
    source.refuse(0, u"denied"_s);
    dispatch.runDue();
    EXPECT_EQ(outcomes, std::vector<Outcome>{u"denied"_s});
}

TEST_F(SystemAudioCaptureTest, StopWithoutAStreamCompletesAtOnce) {
    stop();
    EXPECT_EQ(stops, 1);
}

TEST_F(SystemAudioCaptureTest, StopCompletesWithThePlatformsReply) {
    run();
    stop();
    EXPECT_EQ(stops, 0);
    EXPECT_EQ(source.streams[0]->stopCount(), 1);
    source.confirmStop(0);
    dispatch.runDue();
    EXPECT_EQ(stops, 1);
    dispatch.advance(100);
    EXPECT_EQ(stops, 1);
}

TEST_F(SystemAudioCaptureTest, StopCompletesAfterFiveSecondsWithoutAReply) {
    run();
    stop();
    dispatch.advance(SystemAudioCapture::stopTimeout - tick);
    EXPECT_EQ(stops, 0);
    dispatch.advance(tick);
    EXPECT_EQ(stops, 1);
    source.confirmStop(0);
    dispatch.advance(100);
    EXPECT_EQ(stops, 1) << "a late reply changes nothing";
}

TEST_F(SystemAudioCaptureTest, StopIsCompletedEvenWhenTheCaptureIsLetGoMeanwhile) {
    run();
    stop();
    system.reset();
    dispatch.advance(SystemAudioCapture::stopTimeout);
    EXPECT_EQ(stops, 1);
}

TEST_F(SystemAudioCaptureTest, LostStreamIsReopenedAfterTwoSeconds) {
    run();
    end(0, u"gone"_s);
    dispatch.advance(RetryPolicy::delay - tick);
    EXPECT_EQ(screens.contentRequests, 0);
    EXPECT_EQ(source.streams.size(), 1u);
    dispatch.advance(tick);
    EXPECT_EQ(screens.contentRequests, 1);
    EXPECT_EQ(source.streams.size(), 2u);
    source.confirm(1);
    dispatch.advance(100);
    EXPECT_EQ(source.streams.size(), 2u);
    EXPECT_TRUE(reports.empty()) << "a success isn't announced";
    EXPECT_EQ(outcomes.size(), 1u);
}

TEST_F(SystemAudioCaptureTest, ReopensOnTheMainDisplayNotOnTheOneOfTheStart) {
    run();
    end(0, u"gone"_s);
    dispatch.advance(RetryPolicy::delay);
    EXPECT_EQ(source.streams.at(1)->display.id, 2u);
}

TEST_F(SystemAudioCaptureTest, FirstDisplayIsUsedWhenTheMainOneIsNotInTheList) {
    screens.nextContent = ScreenContent{{display(4), display(5)}, {}, 9};
    run();
    end(0, u"gone"_s);
    dispatch.advance(RetryPolicy::delay);
    EXPECT_EQ(source.streams.at(1)->display.id, 4u);
}

TEST_F(SystemAudioCaptureTest, ReopenedStreamIsReopenedAgainFromTheFirstAttempt) {
    run();
    end(0, u"gone"_s);
    dispatch.advance(RetryPolicy::delay);
    source.confirm(1);
    dispatch.runDue();
    end(1, u"again"_s);
    for (std::size_t stream = 2; stream <= 4; ++stream) {
        dispatch.advance(RetryPolicy::delay);
        ASSERT_EQ(source.streams.size(), stream + 1);
        source.refuse(stream, u"denied"_s);
        dispatch.runDue();
    }
    EXPECT_EQ(reports.size(), 1u);
}

TEST_F(SystemAudioCaptureTest, ThreeFailedReopeningsGiveOneReportWithTheErrorOfTheLastTry) {
    run();
    end(0, u"gone"_s);
    for (std::size_t stream = 1; stream <= 3; ++stream) {
        dispatch.advance(RetryPolicy::delay);
        ASSERT_EQ(source.streams.size(), stream + 1);
        EXPECT_TRUE(reports.empty());
        source.refuse(stream, u"try %1"_s.arg(stream));
        dispatch.runDue();
    }
    EXPECT_EQ(reports, std::vector{copy::Strings::systemAudioStopped(u"try 3"_s)});
    dispatch.advance(100);
    EXPECT_EQ(source.streams.size(), 4u);
    EXPECT_EQ(reports.size(), 1u);
}

TEST_F(SystemAudioCaptureTest, WithoutANewerErrorTheReportCarriesTheErrorOfTheStop) {
    screens.nextContent = ScreenContent{};
    run();
    end(0, u"gone"_s);
    dispatch.advance(3 * RetryPolicy::delay - tick);
    EXPECT_EQ(screens.contentRequests, 2);
    EXPECT_TRUE(reports.empty());
    dispatch.advance(tick);
    EXPECT_EQ(screens.contentRequests, 3);
    EXPECT_EQ(reports, std::vector{copy::Strings::systemAudioStopped(u"gone"_s)});
}

TEST_F(SystemAudioCaptureTest, ContentThatFailsWithATextReplacesTheError) {
    screens.nextContent = std::unexpected(u"no screens"_s);
    run();
    end(0, u"gone"_s);
    dispatch.advance(100);
    EXPECT_EQ(screens.contentRequests, 3);
    EXPECT_EQ(reports, std::vector{copy::Strings::systemAudioStopped(u"no screens"_s)});
}

TEST_F(SystemAudioCaptureTest, ContentThatFailsWithoutATextKeepsTheError) {
    screens.nextContent = std::unexpected(QString());
    run();
    end(0, u"gone"_s);
    dispatch.advance(100);
    EXPECT_EQ(reports, std::vector{copy::Strings::systemAudioStopped(u"gone"_s)});
}

TEST_F(SystemAudioCaptureTest, StreamThatCannotBeMadeCountsAsAFailedReopening) {
    run();
    source.makeFailures = {u"one"_s, u"two"_s, u"three"_s};
    end(0, u"gone"_s);
    dispatch.advance(100);
    EXPECT_EQ(source.streams.size(), 1u);
    EXPECT_EQ(reports, std::vector{copy::Strings::systemAudioStopped(u"three"_s)});
}

TEST_F(SystemAudioCaptureTest, EachReopeningHasItsOwnTenSeconds) {
    run();
    end(0, u"gone"_s);
    for (std::size_t stream = 1; stream <= 3; ++stream) {
        dispatch.advance(RetryPolicy::delay);
        ASSERT_EQ(source.streams.size(), stream + 1);
        dispatch.advance(SystemAudioCapture::startTimeout - tick);
        EXPECT_EQ(source.streams[stream]->stopCount(), 0);
        dispatch.advance(tick);
        EXPECT_EQ(source.streams[stream]->stopCount(), 1);
    }
    EXPECT_EQ(reports, std::vector{copy::Strings::systemAudioStopped(SystemAudioTimeout{}.text())});
}

TEST_F(SystemAudioCaptureTest, EndOfAnotherStreamThanTheCurrentOneDoesNothing) {
    run();
    end(0, u"gone"_s);
    dispatch.advance(RetryPolicy::delay);
    source.confirm(1);
    dispatch.runDue();
    end(0, u"late word"_s);
    dispatch.advance(100);
    EXPECT_EQ(source.streams.size(), 2u);
    EXPECT_TRUE(reports.empty());
}

TEST_F(SystemAudioCaptureTest, SecondWordOfTheSameEndDoesNothing) {
    run();
    end(0, u"gone"_s);
    end(0, u"gone"_s);
    dispatch.advance(RetryPolicy::delay);
    EXPECT_EQ(source.streams.size(), 2u);
}

TEST_F(SystemAudioCaptureTest, EndOfAStreamThatIsStillStartingDoesNothing) {
    begin();
    end(0, u"gone"_s);
    dispatch.advance(RetryPolicy::delay);
    EXPECT_EQ(source.streams.size(), 1u);
}

TEST_F(SystemAudioCaptureTest, EndAfterStopDoesNothing) {
    run();
    stop();
    end(0, u"gone"_s);
    dispatch.advance(100);
    EXPECT_EQ(source.streams.size(), 1u);
    EXPECT_TRUE(reports.empty());
}

TEST_F(SystemAudioCaptureTest, StopWhileWaitingEndsTheReconnection) {
    run();
    end(0, u"gone"_s);
    dispatch.advance(RetryPolicy::delay - tick);
    stop();
    EXPECT_EQ(stops, 1);
    dispatch.advance(100);
    EXPECT_EQ(screens.contentRequests, 0);
    EXPECT_TRUE(reports.empty());
}

TEST_F(SystemAudioCaptureTest, StopWhileTheContentIsAwaitedEndsTheReconnection) {
    screens.holdContent = true;
    run();
    end(0, u"gone"_s);
    dispatch.advance(RetryPolicy::delay);
    ASSERT_EQ(screens.contentRequests, 1);
    stop();
    screens.answerContent();
    dispatch.advance(100);
    EXPECT_EQ(source.streams.size(), 1u);
    EXPECT_TRUE(reports.empty());
}

TEST_F(SystemAudioCaptureTest, StopDuringAReopeningShutsTheNewStreamDown) {
    run();
    end(0, u"gone"_s);
    dispatch.advance(RetryPolicy::delay);
    stop();
    source.confirm(1);
    dispatch.advance(100);
    EXPECT_EQ(source.streams[1]->stopCount(), 1);
    EXPECT_EQ(source.streams.size(), 2u);
}

TEST_F(SystemAudioCaptureTest, StopAfterGivingUpCompletesAtOnce) {
    screens.nextContent = ScreenContent{};
    run();
    end(0, u"gone"_s);
    dispatch.advance(100);
    ASSERT_EQ(reports.size(), 1u);
    stop();
    EXPECT_EQ(stops, 1);
}

TEST_F(SystemAudioCaptureTest, DroppedCaptureEndsItsReconnection) {
    run();
    end(0, u"gone"_s);
    system.reset();
    dispatch.advance(100);
    EXPECT_EQ(screens.contentRequests, 0);
    EXPECT_TRUE(reports.empty());
}

TEST_F(SystemAudioCaptureTest, StreamConfirmedForADroppedCaptureIsShutDown) {
    begin();
    system.reset();
    source.confirm(0);
    dispatch.runDue();
    EXPECT_GE(source.streams[0]->stopCount(), 1);
}

TEST_F(SystemAudioCaptureTest, GivingUpWithoutAListenerIsHarmless) {
    screens.nextContent = ScreenContent{};
    run();
    system->onError = {};
    end(0, u"gone"_s);
    dispatch.advance(100);
    EXPECT_EQ(screens.contentRequests, 3);
}

} // namespace
} // namespace capture
