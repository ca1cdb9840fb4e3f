// How the numbers of a practice stand in its file, and how leniently they are read back.
//   Threads  any; no state
#pragma once

#include "base/Json.h"

#include <QStringView>

#include <cstdint>
#include <optional>

namespace practice::Stored {

/// One decimal, or null.
[[nodiscard]] base::Json orNull(std::optional<double> value);
/// The number under a key; nullopt when it is missing, null or no number, or when `map` is no map.
[[nodiscard]] std::optional<double> number(const base::Json& map, QStringView key);
/// The whole number under a key: a fraction is cut off, what 64 bits can't hold ends at their limit; 0 when missing.
[[nodiscard]] std::int64_t integer(const base::Json& map, QStringView key);

} // namespace practice::Stored
