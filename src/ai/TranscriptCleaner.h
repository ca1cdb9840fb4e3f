// Makes one list of segments with speakers out of what the transcription tool heard on the two tracks. The tool invents
// text in silence, and the microphone also hears what the loudspeakers play; both are taken out. What the loudspeakers
// played stays on the system's track, the true copy of what the other side said.
//   Units    seconds in the recording; characters are what a person counts as such
//   Cost     grows linearly with the number of segments that are near each other in time
//   Errors   none: bad input shows as an empty list
//   Threads  any; pure
#pragma once

#include "ai/Transcript.h"
#include "ai/WhisperOutput.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace ai::TranscriptCleaner {

/// How far around a microphone segment the system's segments are compared. Seconds.
inline constexpr double leakWindow = 2.0;
/// From this likeness on a substantial segment is a leak.
inline constexpr double leakRatio = 0.8;
/// The same for a segment that is not substantial.
inline constexpr double shortLeakRatio = 0.9;
/// How much of the text that contains a segment the segment must make up.
inline constexpr double containShare = 0.6;
inline constexpr std::size_t substantialWords = 3;
inline constexpr std::size_t substantialCharacters = 8;
/// The largest pause within a run of repetitions. Seconds.
inline constexpr double repeatGap = 5.0;
/// The shortest segment that is kept. Seconds.
inline constexpr double minLength = 0.3;
/// The largest probability of no speech that is kept.
inline constexpr double maxNoSpeech = 0.6;
/// Equal neighbours that make a run of repetitions.
inline constexpr std::size_t repeatRun = 3;
inline constexpr qsizetype shortWords = 4;
inline constexpr qsizetype shortCharacters = 6;

enum class Merge {
    No, ///< the segments as recognised, which the statistics of a practice take need
    Yes ///< what one speaker says without a pause is one segment
};

/// A track that did not run is an empty list. `duration` is the recording's length, if it is known.
[[nodiscard]] std::vector<Transcript::Segment> clean(std::span<const WhisperSegment> mic,
                                                     std::span<const WhisperSegment> system,
                                                     std::optional<double> duration, Merge merge);

/// The language of the track that yielded more text; a tie goes to the system's.
[[nodiscard]] std::optional<QString> language(const std::optional<WhisperOutput>& mic,
                                              const std::optional<WhisperOutput>& system);

/// The bytes of transcript.json.
[[nodiscard]] inline QByteArray transcriptData(std::span<const Transcript::Segment> segments,
                                               const std::optional<QString>& language, const QString& generatedAt) {
    return Transcript::fileBytes(segments, language, generatedAt);
}

// The pieces.

/// Whether any character of the text is Chinese, Japanese or Korean, which are written without blanks between words.
[[nodiscard]] bool isCJK(QStringView text);
/// Lower case, without punctuation and symbols, one blank between words.
[[nodiscard]] QString normalize(const QString& text);
/// The words of a normalised text; a CJK character is one of its own.
[[nodiscard]] QStringList tokens(const QString& text);
/// Enough to be told from a chance likeness.
[[nodiscard]] bool substantial(const QStringList& tokens);
[[nodiscard]] bool isShort(const QString& text);
/// Where `needle` first stands in `haystack` without a hole; nullopt for an empty needle too.
[[nodiscard]] std::optional<std::size_t> find(std::span<const int> needle, std::span<const int> haystack);
[[nodiscard]] std::optional<std::size_t> find(const QStringList& needle, const QStringList& haystack);
/// Likeness of two lists, or of two texts character by character (ai/Gestalt.h).
[[nodiscard]] double ratio(const QStringList& a, const QStringList& b);
[[nodiscard]] double ratio(const QString& a, const QString& b);

/// Cuts off what lies beyond the end of the recording; an unknown duration, or one of 0 and less, cuts nothing.
[[nodiscard]] std::vector<WhisperSegment> clampToLength(std::span<const WhisperSegment> segments,
                                                        std::optional<double> duration);
/// Drops empty, very short and improbable segments, and all but the first of a short text's repetitions.
[[nodiscard]] std::vector<WhisperSegment> dropHallucinations(std::span<const WhisperSegment> segments);
/// Whether a microphone segment is what the loudspeakers played, of which `near` is what was said around it.
[[nodiscard]] bool isLeak(const WhisperSegment& segment, std::span<const WhisperSegment> near);
/// The microphone's segments without the leaks.
[[nodiscard]] std::vector<WhisperSegment> removeLeaks(std::span<const WhisperSegment> mic,
                                                      std::span<const WhisperSegment> system);

} // namespace ai::TranscriptCleaner
