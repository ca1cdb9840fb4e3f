#include "capture/MicCapture.h"

#include "capture/CollectingSink.h"
#include "capture/FirstWins.h"
#include "capture/RetryPolicy.h"
#include "copy/Strings.h"
#include "fakes/FakeAudioInput.h"
#include "fakes/ManualScheduler.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>

namespace capture {
namespace {

using namespace Qt::StringLiterals;

constexpr double tick = 0.001; // the least step that tells one moment from the next
const CaptureError noMicrophone{CaptureError::Kind::NoMicrophone, {}};

CaptureError cannotUse(const QString& reason) {
    return {CaptureError::Kind::CannotUse, reason};
}

class MicCaptureTest : public testing::Test {
protected:
    MicCaptureTest() {
        mic->onError = [this](const QString& text) {
            EXPECT_TRUE(dispatch.main().isCurrent());
            reports.push_back(text);
        };
    }

    void start() { ASSERT_FALSE(mic->start().has_value()); }

    void failNext(int times, const CaptureError& error = noMicrophone) {
        input.failures.insert(input.failures.end(), static_cast<std::size_t>(times), error);
    }

    void change() {
        input.change();
        dispatch.runDue();
    }

    void lose(std::size_t stream) {
        input.lose(stream);
        dispatch.runDue();
    }

    fakes::ManualDispatch dispatch;
    fakes::FakeAudioInput input;
    std::shared_ptr<CollectingSink> sink = std::make_shared<CollectingSink>(dispatch);
    std::shared_ptr<MicCapture> mic = MicCapture::create(input, dispatch, sink);
    std::vector<QString> reports;
};

TEST_F(MicCaptureTest, ControlQueueHasItsLabelAndDefaultPriority) {
    EXPECT_EQ(dispatch.madeQueues.back(),
              (std::pair<std::string, base::Priority>{"com.orvane.tarvex.mic.control", base::Priority::Default}));
}

TEST_F(MicCaptureTest, SettlesForHalfASecond) {
    EXPECT_EQ(MicCapture::settleDelay, 0.5);
}

TEST_F(MicCaptureTest, IsWaitedForForFortyFiveSecondsOutsideTestMode) {
    ::unsetenv("TARVEX_HOME");
    ::setenv("TARVEX_MIC_TIMEOUT", "0.25", 1);
    EXPECT_EQ(MicCapture::startTimeout(), 45.0);
    ::setenv("TARVEX_HOME", "/nowhere", 1);
    EXPECT_EQ(MicCapture::startTimeout(), 0.25);
    ::unsetenv("TARVEX_MIC_TIMEOUT");
    EXPECT_EQ(MicCapture::startTimeout(), 45.0);
    ::unsetenv("TARVEX_HOME");
}

TEST_F(MicCaptureTest, NothingIsOpenedOrWatchedBeforeStart) {
    dispatch.advance(100);
    EXPECT_EQ(input.opens, 0);
    EXPECT_FALSE(input.watched());
}

TEST_F(MicCaptureTest, StartOpensTheDefaultInputAndWatchesForChanges) {
    start();
    EXPECT_EQ(input.opens, 1);
    EXPECT_EQ(input.running(), 1);
    EXPECT_TRUE(input.watched());
    EXPECT_FALSE(input.streams[0]->replacedOne);
}

TEST_F(MicCaptureTest, OpensOnItsControlQueue) {
    bool elsewhere = true;
    input.duringOpen = [&] { elsewhere = dispatch.main().isCurrent() || dispatch.timeline().running() == nullptr; };
    start();
    EXPECT_FALSE(elsewhere);
}

TEST_F(MicCaptureTest, FailedStartGivesTheErrorAndWatchesNothing) {
    failNext(1, cannotUse(u"busy"_s));
    EXPECT_EQ(mic->start(), cannotUse(u"busy"_s));
    EXPECT_FALSE(input.watched());
    dispatch.advance(100);
    EXPECT_EQ(input.opens, 1) << "a failed start is not tried again";
    EXPECT_TRUE(reports.empty());
}

TEST_F(MicCaptureTest, BlocksReachTheWriterUnchangedOnItsQueue) {
    start();
    const std::array<std::byte, 4> samples{std::byte{1}, std::byte{2}, std::byte{3}, std::byte{4}};
    const AudioFormat format{SampleType::Int16, 44100, 2};
    input.deliver(0, {format, samples, 1234.5});
    EXPECT_TRUE(sink->stamps.empty()) << "the audio thread only hands over";
    dispatch.runDue();
    EXPECT_EQ(sink->stamps, std::vector{1234.5});
    EXPECT_EQ(sink->formats, std::vector{format});
    EXPECT_EQ(sink->samples, std::vector(samples.begin(), samples.end()));
    EXPECT_TRUE(sink->onItsQueue);
}

TEST_F(MicCaptureTest, ReopensHalfASecondAfterAChange) {
    start();
    change();
    dispatch.advance(MicCapture::settleDelay - tick);
    EXPECT_EQ(input.opens, 1);
    dispatch.advance(tick);
    EXPECT_EQ(input.opens, 2);
}

TEST_F(MicCaptureTest, FiveEventsWithinTwoFifthsOfASecondGiveOneOpenHalfASecondAfterTheFifth) {
    start();
    for (int event = 0; event < 5; ++event) {
        if (event > 0) {
            dispatch.advance(0.1);
        }
        change();
    }
    dispatch.advance(MicCapture::settleDelay - tick);
    EXPECT_EQ(input.opens, 1);
    dispatch.advance(tick);
    EXPECT_EQ(input.opens, 2);
    dispatch.advance(100);
    EXPECT_EQ(input.opens, 2);
    EXPECT_EQ(mic->restartCount(), 1);
}

TEST_F(MicCaptureTest, EventsFurtherApartThanTheSettleDelayEachReopen) {
    start();
    change();
    dispatch.advance(MicCapture::settleDelay + tick);
    change();
    dispatch.advance(MicCapture::settleDelay);
    EXPECT_EQ(mic->restartCount(), 2);
}

TEST_F(MicCaptureTest, OldCaptureRunsUntilTheNewOneIsBuiltAndEndsBeforeItStarts) {
    start();
    int runningWhileOpening = 0;
    input.duringOpen = [&] { runningWhileOpening = input.running(); };
    change();
    dispatch.advance(MicCapture::settleDelay);
    EXPECT_EQ(runningWhileOpening, 1);
    EXPECT_EQ(input.events, (std::vector{u"open 0"_s, u"start 0"_s, u"open 1"_s, u"end 0"_s, u"start 1"_s}));
    EXPECT_TRUE(input.streams[1]->replacedOne);
}

TEST_F(MicCaptureTest, FailedReopeningLeavesTheOldCaptureRunning) {
    start();
    failNext(1);
    change();
    dispatch.advance(MicCapture::settleDelay);
    EXPECT_EQ(input.opens, 2);
    EXPECT_FALSE(input.streams[0]->ended);
}

TEST_F(MicCaptureTest, FailureOfTheRunningSessionReopens) {
    start();
    lose(0);
    dispatch.advance(MicCapture::settleDelay - tick);
    EXPECT_EQ(input.opens, 1);
    dispatch.advance(tick);
    EXPECT_EQ(input.opens, 2);
    EXPECT_EQ(input.running(), 1);
}

TEST_F(MicCaptureTest, FailureOfAReplacedSessionDoesNothing) {
    start();
    change();
    dispatch.advance(MicCapture::settleDelay);
    lose(0);
    dispatch.advance(100);
    EXPECT_EQ(input.opens, 2);
    lose(1);
    dispatch.advance(MicCapture::settleDelay);
    EXPECT_EQ(input.opens, 3) << "the current one still counts";
}

TEST_F(MicCaptureTest, FailureOfTheOldSessionStillCountsAfterAFailedReopening) {
    start();
    failNext(4);
    change();
    dispatch.advance(100);
    ASSERT_EQ(reports.size(), 1u);
    lose(0);
    dispatch.advance(MicCapture::settleDelay);
    EXPECT_EQ(mic->restartCount(), 1);
}

TEST_F(MicCaptureTest, OpensFourTimesTwoSecondsApartThenReportsOnce) {
    start();
    failNext(4);
    lose(0);
    dispatch.advance(MicCapture::settleDelay);
    EXPECT_EQ(input.opens, 2);
    for (int opens = 3; opens <= 5; ++opens) {
        dispatch.advance(RetryPolicy::delay - tick);
        EXPECT_EQ(input.opens, opens - 1);
        EXPECT_TRUE(reports.empty());
        dispatch.advance(tick);
        EXPECT_EQ(input.opens, opens);
    }
    EXPECT_EQ(reports, std::vector{noMicrophone.text()});
    dispatch.advance(100);
    EXPECT_EQ(input.opens, 5);
    EXPECT_EQ(reports.size(), 1u);
}

TEST_F(MicCaptureTest, ReportsTheErrorOfTheFourthFailureAlone) {
    start();
    input.failures = {noMicrophone, cannotUse(u"second"_s), cannotUse(u"third"_s), cannotUse(u"fourth"_s)};
    lose(0);
    dispatch.advance(100);
    EXPECT_EQ(reports, std::vector{copy::Strings::micFailed(u"fourth"_s)});
}

TEST_F(MicCaptureTest, NoWordToTheUserWhenTheFourthOpenSucceeds) {
    start();
    failNext(3);
    lose(0);
    dispatch.advance(100);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(input.running(), 1);
    EXPECT_EQ(mic->restartCount(), 1);
}

TEST_F(MicCaptureTest, GivingUpKeepsWatchingAndAMicrophonePluggedInLaterIsTaken) {
    start();
    failNext(4);
    lose(0);
    dispatch.advance(100);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_TRUE(input.watched());
    change();
    dispatch.advance(MicCapture::settleDelay);
    EXPECT_EQ(mic->restartCount(), 1);
    EXPECT_EQ(input.running(), 1);
}

TEST_F(MicCaptureTest, EachRoundOfFourFailuresReportsOnceAgain) {
    start();
    failNext(8);
    lose(0);
    dispatch.advance(100);
    change();
    dispatch.advance(MicCapture::settleDelay + 3 * RetryPolicy::delay);
    EXPECT_EQ(input.opens, 9);
    EXPECT_EQ(reports.size(), 2u);
}

TEST_F(MicCaptureTest, ChangeWhileWaitingForARetryOpensBesideIt) {
    start();
    failNext(1);
    lose(0);
    dispatch.advance(MicCapture::settleDelay); // the first try fails; the next comes in two seconds
    change();
    dispatch.advance(MicCapture::settleDelay);
    EXPECT_EQ(mic->restartCount(), 1);
    dispatch.advance(RetryPolicy::delay);
    EXPECT_EQ(mic->restartCount(), 2) << "the waiting retry is not tied to the newest change";
    EXPECT_EQ(input.running(), 1);
}

TEST_F(MicCaptureTest, RestartCountIsUnchangedByTheFirstStartAndByAFailedAttempt) {
    start();
    EXPECT_EQ(mic->restartCount(), 0);
    failNext(1);
    lose(0);
    dispatch.advance(MicCapture::settleDelay);
    EXPECT_EQ(mic->restartCount(), 0);
    dispatch.advance(RetryPolicy::delay);
    EXPECT_EQ(mic->restartCount(), 1);
}

TEST_F(MicCaptureTest, RestartNowSkipsTheSettleDelay) {
    start();
    mic->restartNow();
    EXPECT_EQ(input.opens, 1) << "asked for, on the control queue";
    dispatch.runDue();
    EXPECT_EQ(input.opens, 2);
    EXPECT_EQ(mic->restartCount(), 1);
}

TEST_F(MicCaptureTest, RestartNowLeavesAPendingRestartValid) {
    start();
    change();
    mic->restartNow();
    dispatch.advance(MicCapture::settleDelay);
    EXPECT_EQ(mic->restartCount(), 2);
}

TEST_F(MicCaptureTest, RestartNowRetriesLikeAnyOther) {
    start();
    failNext(4);
    mic->restartNow();
    dispatch.advance(3 * RetryPolicy::delay);
    EXPECT_EQ(input.opens, 5);
    EXPECT_EQ(reports.size(), 1u);
}

TEST_F(MicCaptureTest, StopEndsTheCaptureAndTheWatch) {
    start();
    mic->stop();
    EXPECT_EQ(input.running(), 0);
    EXPECT_FALSE(input.watched());
}

TEST_F(MicCaptureTest, StopWithoutStartIsHarmless) {
    mic->stop();
    EXPECT_EQ(input.opens, 0);
}

TEST_F(MicCaptureTest, EventAfterStopDoesNothing) {
    start();
    mic->stop();
    change();
    lose(0);
    mic->restartNow();
    dispatch.advance(100);
    EXPECT_EQ(input.opens, 1);
    EXPECT_TRUE(reports.empty());
}

TEST_F(MicCaptureTest, EventThatWasOnItsWayWhenStopCameDoesNothing) {
    start();
    input.change(); // posted, not run
    mic->stop();
    dispatch.advance(100);
    EXPECT_EQ(input.opens, 1);
}

TEST_F(MicCaptureTest, StopWhileSettlingEndsThePendingRestart) {
    start();
    change();
    dispatch.advance(MicCapture::settleDelay - tick);
    mic->stop();
    dispatch.advance(100);
    EXPECT_EQ(input.opens, 1);
    EXPECT_EQ(input.running(), 0);
}

TEST_F(MicCaptureTest, StopWhileWaitingForARetryEndsTheRetries) {
    start();
    failNext(4);
    lose(0);
    dispatch.advance(MicCapture::settleDelay);
    mic->stop();
    dispatch.advance(100);
    EXPECT_EQ(input.opens, 2);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(input.running(), 0);
}

TEST_F(MicCaptureTest, StopAfterGivingUpEndsTheOldCapture) {
    start();
    failNext(4);
    change();
    dispatch.advance(100);
    ASSERT_EQ(input.running(), 1);
    mic->stop();
    EXPECT_EQ(input.running(), 0);
    change();
    dispatch.advance(100);
    EXPECT_EQ(input.opens, 5);
}

TEST_F(MicCaptureTest, StartThatReturnsAfterTheTimeLimitLeavesNoCaptureRunning) {
    // The race as a recording runs it: the timer claims while the platform still opens; the late winner stops.
    FirstWins race;
    input.duringOpen = [&] { EXPECT_TRUE(race.claim()); };
    ASSERT_FALSE(mic->start().has_value());
    EXPECT_FALSE(race.claim());
    mic->stop();
    EXPECT_EQ(input.running(), 0);
    change();
    dispatch.advance(100);
    EXPECT_EQ(input.opens, 1);
}

TEST_F(MicCaptureTest, DroppedCaptureEndsItsStreamItsWatchAndItsRetries) {
    start();
    failNext(1);
    lose(0);
    dispatch.advance(MicCapture::settleDelay);
    mic.reset();
    EXPECT_EQ(input.running(), 0);
    EXPECT_FALSE(input.watched());
    change();
    dispatch.advance(100);
    EXPECT_EQ(input.opens, 2);
    EXPECT_TRUE(reports.empty());
}

TEST_F(MicCaptureTest, CaptureDroppedWhileSettlingDoesNotReopen) {
    start();
    change();
    mic.reset();
    dispatch.advance(100);
    EXPECT_EQ(input.opens, 1);
}

TEST_F(MicCaptureTest, BlockForAWriterThatHasGoneIsDropped) {
    start();
    const std::weak_ptr<CollectingSink> gone = sink;
    sink.reset();
    ASSERT_TRUE(gone.expired()) << "the capture does not keep its writer";
    const std::array<std::byte, 2> samples{};
    input.deliver(0, {AudioFormat{}, samples, 1.0});
    dispatch.runDue();
}

TEST_F(MicCaptureTest, GivingUpWithoutAListenerIsHarmless) {
    start();
    mic->onError = {};
    failNext(4);
    lose(0);
    dispatch.advance(100);
    EXPECT_EQ(input.opens, 5);
}

} // namespace
} // namespace capture
