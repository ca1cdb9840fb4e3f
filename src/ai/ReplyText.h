// Texts of a reply are put in order before they are stored: one line each, no dashes, nothing empty.
//   Threads  any; pure
#pragma once

#include "base/Json.h"

#include <QString>
#include <QStringView>

#include <optional>

namespace ai::AIPipeline {

/// Every run of em and en dashes, with the whitespace around it, becomes one full-width comma, in any language.
[[nodiscard]] QString noDashes(QStringView text);
/// The same with a comma and a blank, for the user's own words in a Latin script.
[[nodiscard]] QString noDashesLatin(QStringView text);
/// Lines joined by one blank, without blanks at their ends and without empty ones. The first half of every cleaning.
[[nodiscard]] QString oneLine(QStringView text);
/// oneLine, noDashes, trimmed. nullopt if the value is no string or nothing is left of it.
[[nodiscard]] std::optional<QString> cleanText(const base::Json& value);

} // namespace ai::AIPipeline
