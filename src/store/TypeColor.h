// The colours a meeting type can have. A file may name any other; it is kept and uses up none of these.
//   Threads  any
#pragma once

#include "copy/FixedText.h"

#include <array>
#include <optional>

namespace store {

enum class TypeColor { blue, green, orange, pink, purple, gray };

/// In the order in which fresh types get them.
inline constexpr std::array allTypeColors{TypeColor::blue, TypeColor::green,  TypeColor::orange,
                                          TypeColor::pink, TypeColor::purple, TypeColor::gray};

/// As the file names it.
[[nodiscard]] constexpr copy::FixedText rawValue(TypeColor color) {
    using copy::FixedText;
    constexpr std::array<FixedText, allTypeColors.size()> names{u"blue", u"green",  u"orange",
                                                                u"pink", u"purple", u"gray"};
    return names[static_cast<std::size_t>(color)];
}

/// As the user reads it.
[[nodiscard]] constexpr copy::FixedText label(TypeColor color) {
    using copy::FixedText;
    constexpr std::array<FixedText, allTypeColors.size()> labels{u"藍", u"綠", u"橘", u"粉紅", u"紫", u"灰"};
    return labels[static_cast<std::size_t>(color)];
}

/// nullopt for a colour that is none of these.
[[nodiscard]] std::optional<TypeColor> typeColor(QStringView rawValue);

} // namespace store
