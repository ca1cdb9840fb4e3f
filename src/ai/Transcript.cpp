#include "ai/Transcript.h"

#include "ai/JsonFields_p.h"
#include "base/Text.h"
#include "store/Timestamp.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace ai {
namespace {

constexpr std::int64_t formatVersion = 1;

std::optional<Transcript::Segment> segmentFrom(const base::Json& element) {
    const auto text = stringAt(element, u"text");
    if (!text) {
        return std::nullopt;
    }
    Transcript::Segment segment;
    segment.text = base::Text::trimmed(*text);
    if (segment.text.isEmpty()) {
        return std::nullopt;
    }
    segment.start = numberAt(element, u"start").value_or(0.0);
    segment.end = std::max(segment.start, numberAt(element, u"end").value_or(segment.start));
    segment.speaker = stringAt(element, u"speaker").value_or(Transcript::them);
    return segment;
}

bool isAscii(QStringView character) {
    return std::ranges::all_of(character, [](QChar unit) { return unit.unicode() < 0x80; });
}

/// Words need a blank between them, characters of languages without word spaces do not.
bool needsBlank(const QString& before, const QString& added) {
    return !before.isEmpty() && !added.isEmpty() && isAscii(QStringView(before).last(1)) &&
           isAscii(base::Text::prefix(added, 1));
}

/// "%.2f" without the zeros at its end, so that the file shows 12.3 and 5.
base::Json hundredths(double seconds) {
    if (!std::isfinite(seconds)) {
        return base::Json::integer(0);
    }
    QByteArray text = QByteArray::number(seconds, 'f', 2);
    while (text.endsWith('0')) {
        text.chop(1);
    }
    if (text.endsWith('.')) {
        text.chop(1);
    }
    return base::JsonNumber{text == "-0" ? QByteArray("0") : text};
}

} // namespace

std::optional<Transcript> Transcript::parse(QByteArrayView bytes) {
    if (bytes.size() > sizeLimit) {
        return std::nullopt;
    }
    const auto root = base::parseJson(bytes);
    const auto* elements = root ? segmentsOf(*root) : nullptr;
    if (elements == nullptr) {
        return std::nullopt;
    }
    Transcript transcript;
    transcript.language = stringAt(*root, u"language");
    transcript.generatedAt = stringAt(*root, u"generatedAt").and_then(store::Timestamp::parse);
    for (const auto& element : *elements) {
        if (auto segment = segmentFrom(element)) {
            transcript.segments.push_back(std::move(*segment));
        }
    }
    std::ranges::stable_sort(transcript.segments, {}, &Segment::start);
    return transcript;
}

std::vector<Transcript::Segment> Transcript::merged(std::span<const Segment> segments, double gap) {
    std::vector<Segment> result;
    for (const auto& segment : segments) {
        if (result.empty() || result.back().speaker != segment.speaker || segment.start - result.back().end > gap) {
            result.push_back(segment);
            continue;
        }
        auto& last = result.back();
        last.end = std::max(last.end, segment.end);
        if (needsBlank(last.text, segment.text)) {
            last.text += u' ';
        }
        last.text += segment.text;
    }
    return result;
}

QString Transcript::plainText() const {
    QStringList texts;
    texts.reserve(static_cast<qsizetype>(segments.size()));
    for (const auto& segment : segments) {
        texts.append(segment.text);
    }
    return texts.join(u'\n');
}

QByteArray Transcript::fileBytes(std::span<const Segment> segments, const std::optional<QString>& language,
                                 const QString& generatedAt) {
    base::Json::Array elements;
    elements.reserve(segments.size());
    for (const auto& segment : segments) {
        elements.emplace_back(base::Json::Object{{u"start"_s, hundredths(segment.start)},
                                                 {u"end"_s, hundredths(segment.end)},
                                                 {u"speaker"_s, segment.speaker},
                                                 {u"text"_s, segment.text}});
    }
    return base::writeJson(base::Json::Object{{u"version"_s, base::Json::integer(formatVersion)},
                                              {u"generatedAt"_s, generatedAt},
                                              {u"language"_s, base::Json::orNull(language)},
                                              {u"segments"_s, std::move(elements)}});
}

} // namespace ai
