// Dates in files: ISO 8601 internet date-time with the zone's offset, without fractions: "2025-03-07T09:30:12+08:00".
//   Calendar  Gregorian in both directions; years beyond 9999 have more digits, those before 1 a minus
//   Threads   any; no state
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringView>
#include <QTimeZone>

#include <optional>

namespace store::Timestamp {

/// The text of a date as the clocks of `timeZone` show it; "Z" stands for the offset zero. What is below a second is
/// dropped, and the odd seconds of an offset of the nineteenth century are written ("+08:05:43"). An invalid date gives
/// an empty text.
[[nodiscard]] QString text(const QDateTime& date, const QTimeZone& timeZone);

/// The moment that a text names, in UTC; nullopt for any other form, for a day or time that does not exist, and for
/// years of more than six digits.
[[nodiscard]] std::optional<QDateTime> parse(QStringView text);

} // namespace store::Timestamp
