// transcript.json and the transcription tool's output from anywhere: nothing, or segments that keep their promises, and
// what is written from them reads back.
#include "Require.h"
#include "ai/Transcript.h"
#include "ai/TranscriptCleaner.h"
#include "ai/WhisperOutput.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace {

void requireOrder(const std::vector<ai::Transcript::Segment>& segments) {
    require(std::ranges::is_sorted(segments, {}, &ai::Transcript::Segment::start));
    for (const auto& segment : segments) {
        require(segment.end >= segment.start && std::isfinite(segment.end));
        require(!segment.text.isEmpty());
    }
}

void readTranscript(QByteArrayView bytes) {
    const auto transcript = ai::Transcript::parse(bytes);
    if (!transcript) {
        return;
    }
    requireOrder(transcript->segments);
    const auto merged = transcript->merged();
    requireOrder(merged);
    require(merged.size() <= transcript->segments.size());
    const auto written =
        ai::Transcript::fileBytes(merged, transcript->language, QStringLiteral("2025-03-07T09:30:12+08:00"));
    const auto again = ai::Transcript::parse(written);
    require(again && again->segments.size() == merged.size() && again->language == transcript->language);
}

void readOutput(QByteArrayView bytes) {
    const auto output = ai::WhisperOutput::parse(bytes);
    if (!output) {
        return;
    }
    for (const auto& segment : output->segments) {
        require(segment.end >= segment.start && std::isfinite(segment.end));
    }
    const auto half = std::span(output->segments).first(output->segments.size() / 2);
    const auto rest = std::span(output->segments).subspan(half.size());
    requireOrder(ai::TranscriptCleaner::clean(half, rest, std::nullopt, ai::TranscriptCleaner::Merge::No));
    requireOrder(ai::TranscriptCleaner::clean(rest, half, 60.0, ai::TranscriptCleaner::Merge::Yes));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    readTranscript(bytes);
    readOutput(bytes);
    return 0;
}
