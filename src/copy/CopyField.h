// One text of a table with its name, for lists of a whole table.
#pragma once

#include "copy/FixedText.h"
#include "copy/TextWith.h"

namespace copy {

struct CopyField {
    constexpr CopyField(FixedText fieldName, FixedText fieldText) : name(fieldName), text(fieldText) {}

    template<typename... Values>
    constexpr CopyField(FixedText fieldName, const TextWith<Values...>& fieldText)
        : name(fieldName)
        , text(fieldText.text()) {}

    FixedText name;
    FixedText text;
    bool operator==(const CopyField&) const = default;
};

} // namespace copy
