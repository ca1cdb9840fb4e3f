#include "practice/PracticeStats.h"

#include "practice/PitchAnalyzer.h"

#include <QStringList>

#include <algorithm>
#include <cmath>
#include <utility>

namespace practice {

using namespace Qt::StringLiterals;
using Segment = ai::Transcript::Segment;

namespace {

/// A pause of two seconds that a recogniser renders as 1.99995 still is one.
constexpr double pauseTolerance = 0.0001;

std::int64_t rounded(double value) {
    constexpr double limit = 9.2e18; // times in a file edited by hand can be anything
    return static_cast<std::int64_t>(std::round(std::clamp(value, -limit, limit)));
}

/// How much of a segment lies before `moment`, from 0 to 1.
double shareBefore(const Segment& segment, double moment) {
    const double length = segment.end - segment.start;
    if (length > 0) {
        return std::clamp((moment - segment.start) / length, 0.0, 1.0);
    }
    return segment.start < moment ? 1.0 : 0.0;
}

void setPace(PracticeStats& stats, const std::vector<Segment>& ordered, double spoken) {
    const double minutes = spoken / 60;
    const double midpoint = ordered.front().start + spoken * 0.5;
    double firstWords = 0;
    for (const Segment& segment : ordered) {
        const std::int64_t words = PracticeStats::countWords(segment.text);
        stats.words += words;
        firstWords += shareBefore(segment, midpoint) * static_cast<double>(words);
    }
    const auto words = static_cast<double>(stats.words);
    if (minutes > 0) {
        stats.wordsPerMinute = rounded(words / minutes);
    }
    if (const double half = minutes * 0.5; half > 0) {
        stats.firstHalfWordsPerMinute = rounded(firstWords / half);
        stats.secondHalfWordsPerMinute = rounded((words - firstWords) / half);
    }
}

void setPauses(PracticeStats& stats, const std::vector<Segment>& ordered) {
    double runningEnd = ordered.front().end;
    for (auto segment = ordered.begin() + 1; segment != ordered.end(); ++segment) {
        const double gap = segment->start - runningEnd;
        if (gap >= PracticeStats::longPauseSeconds - pauseTolerance) {
            ++stats.longPauses;
            // The length that is shown is the one to beat: a later pause that looks longer replaces it.
            if (!stats.longestPauseSeconds || *stats.longestPauseSeconds < gap) {
                stats.longestPauseSeconds = PitchAnalyzer::oneDecimal(gap);
                stats.longestPauseAt = PitchAnalyzer::oneDecimal(runningEnd);
            }
        }
        runningEnd = std::max(runningEnd, segment->end);
    }
}

void setFillers(PracticeStats& stats, const std::vector<Segment>& ordered, double minutes) {
    QStringList texts;
    for (const Segment& segment : ordered) {
        texts.append(segment.text);
    }
    for (PracticeStats::Filler& filler : PracticeStats::fillerCounts(texts.join(u'\n'))) {
        if (filler.count >= 1) {
            stats.fillerCount += filler.count;
            stats.fillers.push_back(std::move(filler));
        }
    }
    if (minutes > 0) {
        stats.fillersPerMinute = PitchAnalyzer::oneDecimal(static_cast<double>(stats.fillerCount) / minutes);
    }
}

} // namespace

PracticeStats PracticeStats::compute(const std::vector<Segment>& segments, std::optional<Previous> previous) {
    PracticeStats stats;
    stats.previous = std::move(previous);
    if (segments.empty()) {
        return stats;
    }
    std::vector<Segment> ordered = segments;
    std::ranges::stable_sort(ordered, {}, &Segment::start);
    const double lastEnd = std::ranges::max_element(ordered, {}, &Segment::end)->end;
    const double spoken = std::max(lastEnd - ordered.front().start, 0.0);

    stats.spokenSeconds = PitchAnalyzer::oneDecimal(spoken);
    setPace(stats, ordered, spoken);
    setPauses(stats, ordered);
    setFillers(stats, ordered, spoken / 60);
    return stats;
}

QString PracticeStats::fillerList() const {
    QStringList entries;
    for (const Filler& filler : fillers) {
        entries.append(filler.word + u' ' + QString::number(filler.count));
    }
    return entries.join(u'、');
}

std::optional<std::int64_t> PracticeStats::wordsPerMinuteChange() const {
    return previous ? std::optional(wordsPerMinute - previous->wordsPerMinute) : std::nullopt;
}

std::optional<double> PracticeStats::fillersPerMinuteChange() const {
    return previous ? std::optional(PitchAnalyzer::oneDecimal(fillersPerMinute - previous->fillersPerMinute))
                    : std::nullopt;
}

std::optional<std::int64_t> PracticeStats::longPausesChange() const {
    return previous ? std::optional(longPauses - previous->longPauses) : std::nullopt;
}

std::optional<double> PracticeStats::pitchChange() const {
    if (!pitch || !pitch->enough() || !previous || !previous->pitchSemitoneSD) {
        return std::nullopt;
    }
    return PitchAnalyzer::oneDecimal(*pitch->semitoneSD - *previous->pitchSemitoneSD);
}

} // namespace practice
