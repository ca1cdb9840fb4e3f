#include "store/TypeColor.h"

#include <algorithm>

namespace store {

std::optional<TypeColor> typeColor(QStringView raw) {
    const auto found = std::ranges::find_if(allTypeColors, [raw](TypeColor color) { return rawValue(color) == raw; });
    return found == allTypeColors.end() ? std::nullopt : std::optional(*found);
}

} // namespace store
