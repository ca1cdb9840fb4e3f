#include "ai/WhisperOutput.h"

#include "ai/JsonFields_p.h"

#include <algorithm>

namespace ai {
namespace {

WhisperSegment segmentFrom(const base::Json& element) {
    WhisperSegment segment;
    segment.start = numberAt(element, u"start").value_or(0.0);
    segment.end = std::max(segment.start, numberAt(element, u"end").value_or(segment.start));
    segment.text = stringAt(element, u"text").value_or(QString());
    segment.noSpeechProb = numberAt(element, u"no_speech_prob").value_or(0.0);
    return segment;
}

} // namespace

std::optional<WhisperOutput> WhisperOutput::parse(QByteArrayView bytes) {
    if (bytes.size() > sizeLimit) {
        return std::nullopt;
    }
    const auto root = base::parseJson(bytes);
    const auto* elements = root ? segmentsOf(*root) : nullptr;
    if (elements == nullptr) {
        return std::nullopt;
    }
    WhisperOutput output{.language = stringAt(*root, u"language"), .segments = {}};
    output.segments.reserve(elements->size());
    for (const auto& element : *elements) {
        if (element.isObject()) {
            output.segments.push_back(segmentFrom(element));
        }
    }
    return output;
}

} // namespace ai
