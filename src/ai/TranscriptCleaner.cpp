#include "ai/TranscriptCleaner.h"

#include "ai/TranscriptTokens_p.h"
#include "base/Text.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace ai::TranscriptCleaner {

namespace {

bool isBelievable(const WhisperSegment& segment) {
    return !base::Text::trimmed(segment.text).isEmpty() && segment.end - segment.start >= minLength &&
           segment.noSpeechProb <= maxNoSpeech;
}

/// Equal however their marks are composed.
bool sameText(const QString& one, const QString& other) {
    return one == other ||
           one.normalized(QString::NormalizationForm_C) == other.normalized(QString::NormalizationForm_C);
}

std::vector<WhisperSegment> plain(std::span<const NormalizedSegment> segments) {
    std::vector<WhisperSegment> result;
    result.reserve(segments.size());
    for (const NormalizedSegment& segment : segments) {
        result.push_back(segment.segment);
    }
    return result;
}

void append(std::vector<Transcript::Segment>& all, std::span<const WhisperSegment> segments, const QString& speaker) {
    for (const WhisperSegment& segment : segments) {
        all.push_back({segment.start, segment.end, speaker, base::Text::trimmed(segment.text)});
    }
}

qsizetype characterCount(const std::optional<WhisperOutput>& output) {
    qsizetype count = 0;
    if (output) {
        for (const WhisperSegment& segment : output->segments) {
            count += base::Text::characterCount(segment.text);
        }
    }
    return count;
}

std::optional<QString> languageOf(const std::optional<WhisperOutput>& output) {
    return output ? output->language : std::nullopt;
}

} // namespace

std::vector<WhisperSegment> clampToLength(std::span<const WhisperSegment> segments, std::optional<double> duration) {
    std::vector<WhisperSegment> clamped(segments.begin(), segments.end());
    if (duration && *duration > 0) {
        std::erase_if(clamped, [&](const WhisperSegment& segment) { return !(segment.start < *duration); });
        for (WhisperSegment& segment : clamped) {
            segment.end = std::min(segment.end, *duration);
        }
    }
    return clamped;
}

std::vector<NormalizedSegment> withoutHallucinations(std::vector<WhisperSegment> segments) {
    std::vector<NormalizedSegment> believable;
    believable.reserve(segments.size());
    for (WhisperSegment& segment : segments) {
        if (isBelievable(segment)) {
            QString normalized = normalize(segment.text);
            believable.push_back({std::move(segment), std::move(normalized)});
        }
    }
    std::vector<NormalizedSegment> kept;
    kept.reserve(believable.size());
    for (auto first = believable.begin(); first != believable.end();) {
        auto behind = first + 1;
        while (behind != believable.end() && sameText(behind->normalized, first->normalized) &&
               behind->segment.start - (behind - 1)->segment.end <= repeatGap) {
            ++behind;
        }
        const auto length = static_cast<std::size_t>(behind - first);
        const bool repeats = length >= repeatRun && isShortNormalized(first->normalized);
        std::move(first, repeats ? first + 1 : behind, std::back_inserter(kept));
        first = behind;
    }
    return kept;
}

std::vector<WhisperSegment> dropHallucinations(std::span<const WhisperSegment> segments) {
    return plain(withoutHallucinations({segments.begin(), segments.end()}));
}

std::vector<Transcript::Segment> clean(std::span<const WhisperSegment> mic, std::span<const WhisperSegment> system,
                                       std::optional<double> duration, Merge merge) {
    const auto theirs = withoutHallucinations(clampToLength(system, duration));
    const auto mine = withoutLeaks(withoutHallucinations(clampToLength(mic, duration)), theirs);
    std::vector<Transcript::Segment> all;
    all.reserve(mine.size() + theirs.size());
    append(all, mine, Transcript::me);
    append(all, plain(theirs), Transcript::them);
    std::ranges::stable_sort(all, {}, &Transcript::Segment::start); // "me" stands first and stays first
    return merge == Merge::Yes ? Transcript::merged(all) : all;
}

std::optional<QString> language(const std::optional<WhisperOutput>& mic, const std::optional<WhisperOutput>& system) {
    const bool systemSaidMore = characterCount(system) >= characterCount(mic);
    const auto first = languageOf(systemSaidMore ? system : mic);
    return first ? first : languageOf(systemSaidMore ? mic : system);
}

} // namespace ai::TranscriptCleaner
