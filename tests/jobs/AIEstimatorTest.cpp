#include "jobs/AIEstimator.h"

#include "fakes/TemporaryFolder.h"
#include "media/Tracks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>

using namespace Qt::StringLiterals;
using base::Json;
using jobs::AIEstimator;
using testing::ElementsAre;
using testing::IsEmpty;
using Fit = AIEstimator::Fit;
using Sample = AIEstimator::Sample;

namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

class AIEstimatorTest : public testing::Test {
protected:
    void store(const QString& key, const char* json) { values[key] = base::parseJson(json).value(); }

    [[nodiscard]] QByteArray stored(const QString& key) const {
        const auto found = values.find(key);
        return found == values.end() ? QByteArray("nothing") : base::writeCompactJson(found->second);
    }

    std::map<QString, Json> values;
    AIEstimator estimator{[this](const QString& key) {
                              const auto found = values.find(key);
                              return found == values.end() ? std::nullopt : std::optional(found->second);
                          },
                          [this](const QString& key, const Json& value) { values[key] = value; }};
};

Fit fitOf(const std::vector<Sample>& samples) {
    return AIEstimator::fit(samples);
}

// --- The line

TEST(AIEstimatorFitTest, WithoutSamplesItIsTheUsualLine) {
    EXPECT_EQ(fitOf({}), (Fit{30.0, 0.25}));
}

TEST(AIEstimatorFitTest, OneSampleTellsTheSlopeAlone) {
    EXPECT_EQ(fitOf({{1000, 280}}), (Fit{30.0, 0.25}));
    EXPECT_EQ(fitOf({{1000, 130}}), (Fit{30.0, 0.1}));
}

TEST(AIEstimatorFitTest, TheSlopeOfOneSampleStaysWithinItsLimits) {
    EXPECT_EQ(fitOf({{1000, 10}}), (Fit{30.0, 0.05}));
    EXPECT_EQ(fitOf({{10, 100}}), (Fit{30.0, 2.0}));
    EXPECT_EQ(fitOf({{1000, 80}}), (Fit{30.0, 0.05}));
    EXPECT_EQ(fitOf({{1000, 2030}}), (Fit{30.0, 2.0}));
    EXPECT_NEAR(fitOf({{1000, 81}}).perSecond, 0.051, 1e-12);
    EXPECT_NEAR(fitOf({{1000, 2029}}).perSecond, 1.999, 1e-12);
}

TEST(AIEstimatorFitTest, RunsOfSimilarLengthSayNothingOfTheSlope) {
    const Fit fit = fitOf({{100, 60}, {150, 200}});
    EXPECT_EQ(fit.fixed, 30.0);
    EXPECT_DOUBLE_EQ(fit.perSecond, (130.0 - 30.0) / 125.0);
}

TEST(AIEstimatorFitTest, ASpreadOfAMinuteIsEnough) {
    // 0.5 seconds for each second of work, and 20 beside.
    EXPECT_EQ(fitOf({{60, 50}, {120, 80}}), (Fit{20.0, 0.5}));
    EXPECT_EQ(fitOf({{61, 50.5}, {120, 80}}).fixed, 30.0);
}

TEST(AIEstimatorFitTest, LongRunsMustDifferByAFifthOfTheirMean) {
    // The standard deviation of two samples is half of their distance: here exactly a fifth of 1000, then less.
    EXPECT_EQ(fitOf({{800, 420}, {1200, 620}}), (Fit{20.0, 0.5}));
    EXPECT_EQ(fitOf({{801, 420.5}, {1200, 620}}).fixed, 30.0);
}

TEST(AIEstimatorFitTest, ALineThroughTheOriginGetsTheLeastFixedPart) {
    EXPECT_EQ(fitOf({{100, 50}, {1000, 500}}), (Fit{10.0, 0.5}));
}

TEST(AIEstimatorFitTest, AFixedPartAboveTheLeastIsKept) {
    EXPECT_EQ(fitOf({{100, 61}, {1000, 511}}), (Fit{11.0, 0.5}));
}

TEST(AIEstimatorFitTest, AFallingLineKeepsTheInterceptOfItsOwnSlope) {
    const Fit fit = fitOf({{100, 500}, {1000, 50}});
    EXPECT_DOUBLE_EQ(fit.fixed, 550.0);
    EXPECT_EQ(fit.perSecond, 0.05);
}

TEST(AIEstimatorFitTest, ALineTooSteepIsNotBelieved) {
    EXPECT_EQ(fitOf({{100, 210}, {1000, 2010}}), (Fit{10.0, 2.0})); // exactly the steepest
    const Fit fit = fitOf({{100, 210}, {1000, 2100}});
    EXPECT_EQ(fit, (Fit{30.0, 2.0}));
}

TEST(AIEstimatorFitTest, ALineThatStartsBelowZeroIsNotBelieved) {
    const Fit fit = fitOf({{100, 49}, {1000, 508}}); // slope 0.51, intercept -2
    EXPECT_EQ(fit.fixed, 30.0);
    EXPECT_DOUBLE_EQ(fit.perSecond, (278.5 - 30.0) / 550.0);
}

TEST(AIEstimatorFitTest, OnlyTheLastFiveUsableSamplesCount) {
    const std::vector<Sample> five(5, {1000, 130});
    std::vector<Sample> samples{{10, 1e6}};
    samples.insert(samples.end(), five.begin(), five.end());
    EXPECT_EQ(fitOf(samples), (Fit{30.0, 0.1}));
    // Unusable ones are left out before the last five are taken.
    samples = five;
    for (const Sample& unusable :
         {Sample{0, 5}, {-1, 5}, {5, -0.1}, {nan, 5}, {5, nan}, {infinite, 5}, {5, infinite}}) {
        samples.push_back(unusable);
    }
    EXPECT_EQ(fitOf(samples), (Fit{30.0, 0.1}));
}

TEST(AIEstimatorFitTest, AStepOfNoTimeCounts) {
    EXPECT_EQ(fitOf({{1000, 0}}), (Fit{30.0, 0.05}));
}

TEST(AIEstimatorAverageTest, IsTheMeanOfTheLastFive) {
    const auto average = [](std::vector<double> samples) { return AIEstimator::average(samples); };
    EXPECT_EQ(average({}), 30.0);
    EXPECT_EQ(average({20, 40}), 30.0);
    EXPECT_EQ(average({0}), 0.0);
    EXPECT_EQ(average({-1}), 30.0);
    EXPECT_EQ(average({1000, 1, 2, 3, 4, 5}), 3.0);
    EXPECT_EQ(average({1, 2, 3, 4, 5, -1}), 3.0);
}

// --- Samples

TEST_F(AIEstimatorTest, WithoutSamplesAnHourTakesTheUsualTime) {
    EXPECT_EQ(estimator.transcribeEstimate(3600), 930.0);
    EXPECT_EQ(estimator.transcribeEstimate(-1), 30.0);
    EXPECT_EQ(estimator.summaryEstimate(false), 30.0);
    EXPECT_EQ(estimator.summaryEstimate(true), 30.0);
}

TEST_F(AIEstimatorTest, WhatWasRecordedIsEstimatedFrom) {
    estimator.recordTranscribe(1000, 130);
    EXPECT_THAT(estimator.transcribeSamples(), ElementsAre(Sample{1000, 130}));
    EXPECT_EQ(estimator.transcribeEstimate(100), 40.0);
    EXPECT_EQ(stored(u"aiEstimateTranscribe"_s), "[[1000,130]]");
}

TEST_F(AIEstimatorTest, SummariesAndCoachingAreKeptApart) {
    estimator.recordSummary(false, 20);
    estimator.recordSummary(true, 50);
    EXPECT_EQ(estimator.summaryEstimate(false), 20.0);
    EXPECT_EQ(estimator.summaryEstimate(true), 50.0);
    EXPECT_EQ(stored(u"aiEstimateSummary"_s), "[20]");
    EXPECT_EQ(stored(u"aiEstimateCoach"_s), "[50]");
}

TEST_F(AIEstimatorTest, TheSixthSamplePushesOutTheOldest) {
    for (int i = 1; i <= 6; ++i) {
        estimator.recordTranscribe(i, 10.0 * i);
        estimator.recordSummary(false, i);
    }
    EXPECT_EQ(stored(AIEstimator::transcribeKey), "[[2,20],[3,30],[4,40],[5,50],[6,60]]");
    EXPECT_EQ(stored(AIEstimator::summaryKey), "[2,3,4,5,6]");
}

TEST_F(AIEstimatorTest, WhatIsNoMeasurementChangesNothing) {
    for (const Sample& sample :
         {Sample{0, 10}, {-1, 10}, {10, -0.1}, {nan, 1}, {1, nan}, {infinite, 1}, {1, infinite}}) {
        estimator.recordTranscribe(sample.work, sample.seconds);
    }
    for (const double seconds : {-0.1, nan, infinite}) {
        estimator.recordSummary(true, seconds);
    }
    EXPECT_THAT(values, IsEmpty());
}

TEST_F(AIEstimatorTest, AStepOfNoTimeIsKept) {
    estimator.recordSummary(false, 0);
    estimator.recordTranscribe(1, 0);
    EXPECT_THAT(estimator.summarySamples(false), ElementsAre(0.0));
    EXPECT_THAT(estimator.transcribeSamples(), ElementsAre(Sample{1, 0}));
}

TEST_F(AIEstimatorTest, WhatIsNoPairOfNumbersIsSkipped) {
    store(AIEstimator::transcribeKey, R"([[1, 2], [1], [1, 2, 3], ["1", 2], [1, null], 5, {"a": 1}, [3, 4.5]])");
    EXPECT_THAT(estimator.transcribeSamples(), ElementsAre(Sample{1, 2}, Sample{3, 4.5}));
    store(AIEstimator::summaryKey, R"([1, "2", null, [3], 4])");
    EXPECT_THAT(estimator.summarySamples(false), ElementsAre(1.0, 4.0));
}

TEST_F(AIEstimatorTest, AValueOfAnotherTypeReadsAsNoSamples) {
    for (const char* json : {"null", "5", "\"text\"", "{}", "true", "[]"}) {
        store(AIEstimator::transcribeKey, json);
        store(AIEstimator::coachKey, json);
        EXPECT_THAT(estimator.transcribeSamples(), IsEmpty()) << json;
        EXPECT_THAT(estimator.summarySamples(true), IsEmpty()) << json;
    }
    estimator.recordSummary(true, 7);
    EXPECT_EQ(stored(AIEstimator::coachKey), "[7]");
}

TEST_F(AIEstimatorTest, SamplesSurviveInThePreferences) {
    const fakes::TemporaryFolder folder;
    {
        base::PreferenceStore defaults(folder / "preferences.json");
        AIEstimator(defaults).recordTranscribe(1000.5, 130.25);
    }
    base::PreferenceStore defaults(folder / "preferences.json");
    EXPECT_THAT(AIEstimator(defaults).transcribeSamples(), ElementsAre(Sample{1000.5, 130.25}));
}

// --- Work

class AIEstimatorWorkTest : public testing::Test {
protected:
    void SetUp() override { record.folder = folder.path; }

    void addTrack(const char* name, std::size_t seconds) const {
        media::writeM4a(folder / name, media::tone(seconds * 48000));
    }

    fakes::TemporaryFolder folder;
    store::MeetingRecord record;
};

TEST_F(AIEstimatorWorkTest, EachTrackCountsWithTheRecordedLength) {
    record.duration = 100;
    EXPECT_EQ(AIEstimator::work(record), 0.0);
    addTrack("mic.m4a", 1);
    EXPECT_EQ(AIEstimator::work(record), 100.0);
    addTrack("system.m4a", 1);
    EXPECT_EQ(AIEstimator::work(record), 200.0);
    record.practice = true; // which has one track
    EXPECT_EQ(AIEstimator::work(record), 100.0);
}

TEST_F(AIEstimatorWorkTest, WithoutARecordedLengthTheFirstFileTells) {
    addTrack("mic.m4a", 2);
    addTrack("system.m4a", 1);
    EXPECT_DOUBLE_EQ(AIEstimator::work(record), 4.0);
    record.duration = 0;
    EXPECT_DOUBLE_EQ(AIEstimator::work(record), 4.0);
    record.duration = -5;
    EXPECT_DOUBLE_EQ(AIEstimator::work(record), 4.0);
    record.duration = 0.5;
    EXPECT_DOUBLE_EQ(AIEstimator::work(record), 1.0);
}

TEST_F(AIEstimatorWorkTest, AFileThatIsNoAudioIsNoWork) {
    media::writeBytes(folder / "mic.m4a", {'x'});
    EXPECT_EQ(AIEstimator::work(record), 0.0);
}

TEST_F(AIEstimatorTest, TheQueueAsksByStep) {
    const fakes::TemporaryFolder folder;
    media::writeM4a(folder / "mic.m4a", media::tone(4800));
    store::MeetingRecord record;
    record.folder = folder.path;
    record.duration = 1000;
    estimator.record(ai::AIStep::Transcribe, record, 130);
    estimator.record(ai::AIStep::Summarize, record, 20);
    EXPECT_EQ(stored(AIEstimator::transcribeKey), "[[1000,130]]");
    EXPECT_EQ(estimator.estimate(ai::AIStep::Transcribe, record), 130.0);
    EXPECT_EQ(estimator.estimate(ai::AIStep::Summarize, record), 20.0);
    record.practice = true;
    estimator.record(ai::AIStep::Summarize, record, 50);
    EXPECT_EQ(stored(AIEstimator::coachKey), "[50]");
    EXPECT_EQ(estimator.estimate(ai::AIStep::Summarize, record), 50.0);
}

} // namespace
