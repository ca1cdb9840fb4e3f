#include "ai/TranscriptCleaner.h"

#include "base/Text.h"

#include <algorithm>

namespace ai::TranscriptCleaner {

namespace {

bool isBelievable(const WhisperSegment& segment) {
    return !base::Text::trimmed(segment.text).isEmpty() && segment.end - segment.start >= minLength &&
           segment.noSpeechProb <= maxNoSpeech;
}

/// What two texts are compared by, however their marks are composed.
QString repeatKey(const QString& text) {
    return normalize(text).normalized(QString::NormalizationForm_C);
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

std::vector<WhisperSegment> dropHallucinations(std::span<const WhisperSegment> segments) {
    std::vector<WhisperSegment> believable;
    std::vector<QString> keys;
    for (const WhisperSegment& segment : segments) {
        if (isBelievable(segment)) {
            believable.push_back(segment);
            keys.push_back(repeatKey(segment.text));
        }
    }
    std::vector<WhisperSegment> kept;
    for (std::size_t first = 0; first < believable.size();) {
        std::size_t behind = first + 1;
        while (behind < believable.size() && keys[behind] == keys[first] &&
               believable[behind].start - believable[behind - 1].end <= repeatGap) {
            ++behind;
        }
        const bool repeats = behind - first >= repeatRun && isShort(believable[first].text);
        kept.insert(kept.end(), believable.begin() + static_cast<std::ptrdiff_t>(first),
                    believable.begin() + static_cast<std::ptrdiff_t>(repeats ? first + 1 : behind));
        first = behind;
    }
    return kept;
}

std::vector<Transcript::Segment> clean(std::span<const WhisperSegment> mic, std::span<const WhisperSegment> system,
                                       std::optional<double> duration, Merge merge) {
    const auto theirs = dropHallucinations(clampToLength(system, duration));
    const auto mine = removeLeaks(dropHallucinations(clampToLength(mic, duration)), theirs);
    std::vector<Transcript::Segment> all;
    all.reserve(mine.size() + theirs.size());
    append(all, mine, Transcript::me);
    append(all, theirs, Transcript::them);
    std::ranges::stable_sort(all, {}, &Transcript::Segment::start); // "me" stands first and stays first
    return merge == Merge::Yes ? Transcript::merged(all) : all;
}

std::optional<QString> language(const std::optional<WhisperOutput>& mic, const std::optional<WhisperOutput>& system) {
    const bool systemSaidMore = characterCount(system) >= characterCount(mic);
    const auto first = languageOf(systemSaidMore ? system : mic);
    return first ? first : languageOf(systemSaidMore ? mic : system);
}

} // namespace ai::TranscriptCleaner
