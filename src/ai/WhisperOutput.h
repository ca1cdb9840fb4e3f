// What the transcription tool wrote about one track.
//   Shape    a JSON object with "segments", an array of objects with "start", "end", "text", "no_speech_prob", and
//            optionally "language"; nothing else in it is used
//   Errors   whatever is missing or of another type in a segment has a fallback; only the shape as a whole can fail
//   Threads  any; a plain value
#pragma once

#include <QByteArrayView>
#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace ai {

struct WhisperSegment {
    double start = 0; ///< seconds in the track
    double end = 0;   ///< never before `start`
    QString text;
    double noSpeechProb = 0; ///< the tool's probability that nobody speaks here
    bool operator==(const WhisperSegment&) const = default;
};

struct WhisperOutput {
    /// Bytes that are read at most: days of speech stay far below it.
    static constexpr std::int64_t sizeLimit = 32LL * 1024 * 1024;

    std::optional<QString> language;
    std::vector<WhisperSegment> segments; ///< in the tool's order, which can be any
    bool operator==(const WhisperOutput&) const = default;

    /// nullopt if the bytes are no JSON object with an array at "segments", or more than `sizeLimit`.
    [[nodiscard]] static std::optional<WhisperOutput> parse(QByteArrayView bytes);
};

} // namespace ai
