// A text with places to fill: "%@" for a text, "%d" and "%02d" for a whole number, "%.1f" and "%.0f" for a decimal one.
// The types name the places in their order; a literal that has others does not compile.
//     inline constexpr TextWith<QString, int> pendingAIQueued{u"%@ · 後面還有 %d 場"};
//     pendingAIQueued(text, waiting)
//   Numbers  as printf writes them in the C locale, whatever the user's locale is
//   Threads  any
#pragma once

#include "copy/FixedText.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <variant>

namespace copy {

namespace detail {

/// What one place takes, by its position in this list: text, whole number, decimal number.
using Filling = std::variant<QStringView, std::int64_t, double>;
enum class Kind : std::size_t { Text, Whole, Decimal };

struct Place {
    Kind kind = Kind::Text;
    int digits = 0;         ///< least digits of a whole number, digits after the point of a decimal one
    std::size_t length = 0; ///< UTF-16 units from the percent sign on
};

/// The place that `rest` begins with; any other percent sign is an ordinary character.
constexpr std::optional<Place> placeAt(std::u16string_view rest) {
    if (rest.starts_with(u"%@")) {
        return Place{Kind::Text, 0, 2};
    }
    if (rest.starts_with(u"%d")) {
        return Place{Kind::Whole, 1, 2};
    }
    if (rest.starts_with(u"%02d")) {
        return Place{Kind::Whole, 2, 4};
    }
    if (rest.starts_with(u"%.0f")) {
        return Place{Kind::Decimal, 0, 4};
    }
    if (rest.starts_with(u"%.1f")) {
        return Place{Kind::Decimal, 1, 4};
    }
    return std::nullopt;
}

constexpr bool hasPlaces(std::u16string_view text, std::span<const Kind> kinds) {
    std::size_t found = 0;
    for (std::size_t at = text.find(u'%'); at != text.npos; at = text.find(u'%', at + 1)) {
        const auto place = placeAt(text.substr(at));
        if (!place || found == kinds.size() || place->kind != kinds[found]) {
            return false;
        }
        ++found;
    }
    return found == kinds.size();
}

[[nodiscard]] QString filled(QStringView text, std::span<const Filling> fillings);

template<typename Value>
struct Parameter;

template<>
struct Parameter<QString> {
    using Type = const QString&;
    static constexpr Kind kind = Kind::Text;
};

template<>
struct Parameter<int> {
    using Type = std::int64_t;
    static constexpr Kind kind = Kind::Whole;
};

template<>
struct Parameter<double> {
    using Type = double;
    static constexpr Kind kind = Kind::Decimal;
};

} // namespace detail

template<typename... Values>
    requires(sizeof...(Values) > 0)
class TextWith {
public:
    template<std::size_t size> // implicit, so that tables are plain lists of literals
    consteval TextWith(const char16_t (&literal)[size]) : m_text(literal) {
        constexpr detail::Kind kinds[] = {detail::Parameter<Values>::kind...};
        if (!detail::hasPlaces({literal, size - 1}, kinds)) {
            throw "the places of the literal are not those of its type";
        }
    }

    [[nodiscard]] QString operator()(typename detail::Parameter<Values>::Type... values) const {
        const detail::Filling fillings[] = {values...};
        return detail::filled(m_text, fillings);
    }

    /// As it stands in the table, places and all.
    [[nodiscard]] constexpr FixedText text() const { return m_text; }

private:
    FixedText m_text;
};

} // namespace copy
