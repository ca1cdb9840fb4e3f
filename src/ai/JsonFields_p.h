// Reading single members of a JSON object with a fallback for every other type.
#pragma once

#include "base/Json.h"

#include <optional>

namespace ai {

[[nodiscard]] inline std::optional<double> numberAt(const base::Json& object, QStringView key) {
    const auto* member = object.find(key);
    return member != nullptr ? member->toDouble() : std::nullopt;
}

[[nodiscard]] inline std::optional<QString> stringAt(const base::Json& object, QStringView key) {
    const auto* member = object.find(key);
    return member != nullptr ? member->toString() : std::nullopt;
}

[[nodiscard]] inline std::optional<bool> boolAt(const base::Json& object, QStringView key) {
    const auto* member = object.find(key);
    return member != nullptr ? member->toBool() : std::nullopt;
}

/// The elements of the array at `key`; none for anything else.
[[nodiscard]] inline const base::Json::Array& arrayAt(const base::Json& object, QStringView key) {
    static const base::Json::Array none;
    const auto* member = object.find(key);
    const auto* elements = member != nullptr ? member->toArray() : nullptr;
    return elements != nullptr ? *elements : none;
}

/// The "segments" of a transcript file of ours or of the tool's; nullptr if the bytes have another shape.
[[nodiscard]] inline const base::Json::Array* segmentsOf(const base::Json& root) {
    const auto* segments = root.find(u"segments");
    return segments != nullptr ? segments->toArray() : nullptr;
}

} // namespace ai
