// One rule for the points of a reply and of a file, which differ in how they read a text.
#pragma once

#include "ai/JsonFields_p.h"
#include "ai/MeetingSummary.h"
#include "ai/SummaryLimits.h"
#include "base/Json.h"

#include <functional>
#include <optional>

namespace ai {

/// The text of a value; nullopt if it is no string or nothing is left of it.
using TextReader = std::function<std::optional<QString>(const base::Json&)>;

[[nodiscard]] inline std::optional<QString> textAt(const base::Json& object, QStringView key, const TextReader& read) {
    const auto* member = object.find(key);
    return member != nullptr ? read(*member) : std::nullopt;
}

[[nodiscard]] inline QStringList textsAt(const base::Json& object, QStringView key, const TextReader& read) {
    QStringList texts;
    for (const auto& element : arrayAt(object, key)) {
        if (auto text = read(element)) {
            texts.append(std::move(*text));
        }
    }
    return texts;
}

/// A plain text is a point with that one item; an object without items but with a title is one too. nullopt: nothing
/// in it.
[[nodiscard]] inline std::optional<MeetingSummary::Point> pointFrom(const base::Json& element, const TextReader& read) {
    if (!element.isObject()) {
        return read(element).transform([](QString text) { return MeetingSummary::Point{{}, {std::move(text)}}; });
    }
    MeetingSummary::Point point{textAt(element, u"title", read), textsAt(element, u"items", read)};
    if (auto text = textAt(element, u"text", read)) {
        point.items.append(std::move(*text));
    }
    if (point.items.isEmpty()) {
        return point.title.transform([](QString title) { return MeetingSummary::Point{{}, {std::move(title)}}; });
    }
    point.items = point.items.first(std::min(point.items.size(), AIPipeline::maxPointItems));
    return point;
}

} // namespace ai
