// What the engines write, read into one form.
//   Units    seconds in what the engine was given
//   Errors   nullopt where the shape is another one; bytes that are no UTF-8 are replaced, since engines cut texts in
//   the
//            middle of a character
//   Threads  any; pure
#pragma once

#include "ai/WhisperOutput.h"

#include <QByteArrayView>

#include <optional>

namespace adapter::EngineOutput {

/// A pause between words from which on a new segment begins, and the longest one. Seconds.
inline constexpr double wordGap = 0.75;
inline constexpr double longestSegment = 15.0;

/// The JSON of `whisper` and `whisper-ctranslate2`. Numbers that are none ("NaN") count as absent.
[[nodiscard]] std::optional<ai::WhisperOutput> fromWhisper(QByteArrayView bytes);
/// The JSON of `whisper-cli`: "transcription" with offsets in milliseconds.
[[nodiscard]] std::optional<ai::WhisperOutput> fromWhisperCpp(QByteArrayView bytes);
/// The lines of `pocketsphinx_continuous -time yes`: a word, its beginning, its end, its probability.
[[nodiscard]] ai::WhisperOutput fromSphinx(QByteArrayView bytes);

} // namespace adapter::EngineOutput
