// Why the list of types refused a change.
//   Threads  any; plain values
#pragma once

#include "base/Files.h"

#include <QString>

#include <variant>

namespace store {

struct TypeError {
    enum class Kind { duplicate, missing, unreadable, empty, reserved, reservedPractice };
    Kind kind = Kind::unreadable;
    QString name; ///< duplicate: the spelling that exists; missing: the name sought
    bool operator==(const TypeError&) const = default;

    /// The text for the user.
    [[nodiscard]] QString errorDescription() const;
};

/// Why a type was not changed: the list refused, or the disk did.
using TypeFailure = std::variant<TypeError, base::FileError>;
/// The text for the user.
[[nodiscard]] QString errorText(const TypeFailure& failure);

} // namespace store
