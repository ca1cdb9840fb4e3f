// Reading members of the advice, where every other type counts as missing. How a text is read is the caller's choice:
// an answer is cleaned, a file is trusted.
#pragma once

#include "base/Json.h"

#include <QString>
#include <QStringList>

#include <concepts>
#include <optional>

namespace practice::Fields {

template<typename Read>
concept TextReader = requires(Read read, const base::Json& value) {
    { read(value) } -> std::same_as<std::optional<QString>>;
};

[[nodiscard]] inline const base::Json::Array& array(const base::Json& object, QStringView key) {
    static const base::Json::Array none;
    const base::Json* found = object.find(key);
    const base::Json::Array* elements = found != nullptr ? found->toArray() : nullptr;
    return elements != nullptr ? *elements : none;
}

[[nodiscard]] inline bool flag(const base::Json& object, QStringView key) {
    const base::Json* found = object.find(key);
    return found != nullptr && found->toBool().value_or(false);
}

[[nodiscard]] std::optional<QString> text(const base::Json& object, QStringView key, TextReader auto read) {
    const base::Json* found = object.find(key);
    return found != nullptr ? read(*found) : std::nullopt;
}

/// The elements of an array that are texts.
[[nodiscard]] QStringList texts(const base::Json& object, QStringView key, TextReader auto read) {
    QStringList result;
    for (const base::Json& element : array(object, key)) {
        if (auto one = read(element)) {
            result.append(*std::move(one));
        }
    }
    return result;
}

} // namespace practice::Fields
