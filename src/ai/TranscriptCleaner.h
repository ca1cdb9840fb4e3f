// Makes one list of segments with speakers out of what the transcription tool heard on the two tracks. The tool invents
// text in silence, and the microphone also hears what the loudspeakers play; both are taken out.
//   Units    seconds in the recording
//   Errors   none: bad input shows as an empty list
//   Threads  any; pure
#pragma once

#include "ai/Transcript.h"
#include "ai/WhisperOutput.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <span>
#include <vector>

namespace ai::TranscriptCleaner {

enum class Merge {
    No, ///< the segments as recognised, which the statistics of a practice take need
    Yes ///< what one speaker says without a pause is one segment
};

/// A track that did not run is an empty list. `duration` is the recording's length, if it is known.
[[nodiscard]] std::vector<Transcript::Segment> clean(std::span<const WhisperSegment> mic,
                                                     std::span<const WhisperSegment> system,
                                                     std::optional<double> duration, Merge merge);

/// The language of the track that yielded more text.
[[nodiscard]] std::optional<QString> language(const std::optional<WhisperOutput>& mic,
                                              const std::optional<WhisperOutput>& system);

/// The bytes of transcript.json.
[[nodiscard]] inline QByteArray transcriptData(std::span<const Transcript::Segment> segments,
                                               const std::optional<QString>& language, const QString& generatedAt) {
    return Transcript::fileBytes(segments, language, generatedAt);
}

} // namespace ai::TranscriptCleaner
