// The steps of cleaning on texts that are normalised already, so that each text is normalised once.
#pragma once

#include "ai/TranscriptCleaner.h"
#include "ai/WhisperOutput.h"

#include <QString>
#include <QStringView>

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

namespace ai::TranscriptCleaner {

/// A segment beside its normalised text.
struct NormalizedSegment {
    WhisperSegment segment;
    QString normalized;
};

/// Enough words or characters to be told from a chance likeness.
[[nodiscard]] constexpr bool isSubstantial(std::size_t words, std::size_t cjkCharacters) {
    return words >= substantialWords || cjkCharacters >= substantialCharacters;
}

/// The tokens of a normalised text, in order; the views are borrowed from it.
void forEachToken(QStringView normalized, const std::function<void(QStringView)>& visit);
[[nodiscard]] bool isShortNormalized(QStringView normalized);

[[nodiscard]] std::vector<NormalizedSegment> withoutHallucinations(std::vector<WhisperSegment> segments);
[[nodiscard]] std::vector<WhisperSegment> withoutLeaks(std::span<const NormalizedSegment> mic,
                                                       std::span<const NormalizedSegment> system);

} // namespace ai::TranscriptCleaner
