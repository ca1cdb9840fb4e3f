#include "jobs/AIEstimator.h"

#include "ai/TranscribeStep.h"
#include "media/AudioReader.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace jobs {

namespace {

using Sample = AIEstimator::Sample;
using Fit = AIEstimator::Fit;
using base::Json;

/// NaN and infinity are no measurements, and no JSON either.
bool isDuration(double seconds) {
    return std::isfinite(seconds) && seconds >= 0;
}

bool isUsable(const Sample& sample) {
    return std::isfinite(sample.work) && sample.work > 0 && isDuration(sample.seconds);
}

template<typename Values>
void keepLast(Values& values) {
    if (values.size() > AIEstimator::kept) {
        values.erase(values.begin(), values.end() - static_cast<std::ptrdiff_t>(AIEstimator::kept));
    }
}

template<typename Value, typename Predicate>
std::vector<Value> lastWhere(std::span<const Value> values, Predicate predicate) {
    std::vector<Value> chosen;
    std::ranges::copy_if(values, std::back_inserter(chosen), predicate);
    keepLast(chosen);
    return chosen;
}

const QString& summaryKeyFor(bool practice) {
    return practice ? AIEstimator::coachKey : AIEstimator::summaryKey;
}

std::optional<Sample> sampleFrom(const Json& element) {
    const Json::Array* pair = element.toArray();
    if (pair == nullptr || pair->size() != 2) {
        return std::nullopt;
    }
    const auto work = pair->front().toDouble();
    const auto seconds = pair->back().toDouble();
    return work && seconds ? std::optional(Sample{*work, *seconds}) : std::nullopt;
}

/// The stored array, element by element; those that `read` can't use are left out.
template<typename Value, typename Read>
std::vector<Value> stored(const AIEstimator::Load& load, const QString& key, Read read) {
    std::vector<Value> values;
    const auto json = load(key);
    const Json::Array* elements = json ? json->toArray() : nullptr;
    if (elements != nullptr) {
        for (const Json& element : *elements) {
            if (const auto value = read(element)) {
                values.push_back(*value);
            }
        }
    }
    return values;
}

double meanOf(const std::vector<Sample>& samples, double Sample::* field) {
    double sum = 0;
    for (const Sample& sample : samples) {
        sum += sample.*field;
    }
    return sum / static_cast<double>(samples.size());
}

/// Sums of squared and of mixed deviations from the means.
struct Deviations {
    double work = 0;
    double mixed = 0;
};

Deviations deviationsOf(const std::vector<Sample>& samples, const Sample& mean) {
    Deviations sums;
    for (const Sample& sample : samples) {
        const double work = sample.work - mean.work;
        sums.work += work * work;
        sums.mixed += work * (sample.seconds - mean.seconds);
    }
    return sums;
}

bool differEnough(const std::vector<Sample>& samples, double meanWork, double squares) {
    const auto [least, most] = std::ranges::minmax(samples, {}, &Sample::work);
    const double deviation = std::sqrt(squares / static_cast<double>(samples.size()));
    return most.work - least.work >= AIEstimator::minSpread &&
           deviation >= meanWork * AIEstimator::minRelativeDeviation && squares > AIEstimator::varianceFloor;
}

Fit throughMean(const Sample& mean) {
    const double slope = (mean.seconds - AIEstimator::defaultFit.fixed) / mean.work;
    return {AIEstimator::defaultFit.fixed, std::clamp(slope, AIEstimator::minPerSecond, AIEstimator::maxPerSecond)};
}

} // namespace

AIEstimator::AIEstimator(Load load, Save save) : m_load(std::move(load)), m_save(std::move(save)) {}

AIEstimator::AIEstimator(base::PreferenceStore& defaults)
    : AIEstimator([&defaults](const QString& key) { return defaults.value(key); },
                  [&defaults](const QString& key, const Json& value) { defaults.set(key, value); }) {}

std::vector<Sample> AIEstimator::transcribeSamples() const {
    return stored<Sample>(m_load, transcribeKey, sampleFrom);
}

std::vector<double> AIEstimator::summarySamples(bool practice) const {
    return stored<double>(m_load, summaryKeyFor(practice), [](const Json& element) { return element.toDouble(); });
}

double AIEstimator::transcribeEstimate(double work) const {
    const Fit line = fit(transcribeSamples());
    return line.fixed + std::max(work, 0.0) * line.perSecond;
}

double AIEstimator::summaryEstimate(bool practice) const {
    return average(summarySamples(practice));
}

void AIEstimator::recordTranscribe(double work, double seconds) {
    if (!isUsable({work, seconds})) {
        return;
    }
    auto samples = transcribeSamples();
    samples.push_back({work, seconds});
    keepLast(samples);
    Json::Array pairs;
    for (const Sample& sample : samples) {
        pairs.emplace_back(Json::Array{Json::number(sample.work), Json::number(sample.seconds)});
    }
    m_save(transcribeKey, pairs);
}

void AIEstimator::recordSummary(bool practice, double seconds) {
    if (!isDuration(seconds)) {
        return;
    }
    auto samples = summarySamples(practice);
    samples.push_back(seconds);
    keepLast(samples);
    Json::Array numbers;
    std::ranges::transform(samples, std::back_inserter(numbers), Json::number);
    m_save(summaryKeyFor(practice), numbers);
}

double AIEstimator::estimate(ai::AIStep step, const store::MeetingRecord& record) const {
    return step == ai::AIStep::Transcribe ? transcribeEstimate(work(record)) : summaryEstimate(record.practice);
}

void AIEstimator::record(ai::AIStep step, const store::MeetingRecord& record, double seconds) {
    if (step == ai::AIStep::Transcribe) {
        recordTranscribe(work(record), seconds);
    } else {
        recordSummary(record.practice, seconds);
    }
}

Fit AIEstimator::fit(std::span<const Sample> samples) {
    const auto recent = lastWhere(samples, isUsable);
    if (recent.empty()) {
        return defaultFit;
    }
    const Sample mean{meanOf(recent, &Sample::work), meanOf(recent, &Sample::seconds)};
    const Deviations sums = deviationsOf(recent, mean);
    if (!differEnough(recent, mean.work, sums.work)) {
        return throughMean(mean);
    }
    const double slope = sums.mixed / sums.work;
    // By the slope as it came out, also where the line below is made steeper.
    const double intercept = mean.seconds - mean.work * slope;
    if (slope > maxPerSecond || intercept < 0) {
        return throughMean(mean);
    }
    return {std::max(intercept, minFixed), std::max(slope, minPerSecond)};
}

double AIEstimator::average(std::span<const double> samples) {
    const auto recent = lastWhere(samples, isDuration);
    if (recent.empty()) {
        return defaultSummary;
    }
    double sum = 0;
    for (const double seconds : recent) {
        sum += seconds;
    }
    return sum / static_cast<double>(recent.size());
}

double AIEstimator::work(const store::MeetingRecord& record) {
    const auto tracks = ai::AIPipeline::audioTracks(record);
    if (tracks.empty()) {
        return 0;
    }
    const bool known = record.duration && *record.duration > 0;
    const double seconds = known ? *record.duration : media::lengthOf(tracks.front().path).value_or(0);
    return std::max(seconds, 0.0) * static_cast<double>(tracks.size());
}

} // namespace jobs
