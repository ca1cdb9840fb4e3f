#include "practice/StoredNumbers.h"

#include <cmath>
#include <limits>

namespace practice::Stored {

using base::Json;

Json orNull(std::optional<double> value) {
    return value ? Json::oneDecimal(*value) : Json();
}

std::optional<double> number(const Json& map, QStringView key) {
    const Json* found = map.find(key);
    return found != nullptr ? found->toDouble() : std::nullopt;
}

std::int64_t integer(const Json& map, QStringView key) {
    const Json* found = map.find(key);
    if (found == nullptr) {
        return 0;
    }
    if (const auto whole = found->toInteger()) {
        return *whole;
    }
    constexpr double limit = 9223372036854775808.0; // 2^63
    const double value = std::trunc(found->toDouble().value_or(0));
    if (value >= limit) {
        return std::numeric_limits<std::int64_t>::max();
    }
    return value < -limit ? std::numeric_limits<std::int64_t>::min() : static_cast<std::int64_t>(value);
}

} // namespace practice::Stored
