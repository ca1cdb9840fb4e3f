// Dates, lengths and people of a meeting, as list rows and pages show them.
//   Dates    in the zone of the calendar; weeks begin on Monday
//   Units    seconds
//   Threads  any; no state
#pragma once

#include "copy/MainCopy.h"

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QTimeZone>

#include <optional>

namespace copy::MeetingText {

/// Gregorian, with weeks from Monday on.
struct Calendar {
    QTimeZone timeZone;
};

/// In the zone where the computer is now.
[[nodiscard]] Calendar calendar();

/// The title of the section of a list that a date belongs to.
[[nodiscard]] QString groupTitle(const std::optional<QDateTime>& date, const QDateTime& now, const Calendar& calendar);
/// As short as its section allows: "09:30", "週三 09:30", "3/7 09:30". Empty without a date.
[[nodiscard]] QString rowTime(const std::optional<QDateTime>& date, const QDateTime& now, const Calendar& calendar);
/// "週三"
[[nodiscard]] QString weekday(const QDateTime& date, const Calendar& calendar);
/// "3/7 週三 09:30"
[[nodiscard]] QString infoDate(const QDateTime& date, const Calendar& calendar);
/// "3/7 09:30 · 45 分"; what is unknown is left out.
[[nodiscard]] QString sideDetail(const std::optional<QDateTime>& start, std::optional<double> duration,
                                 const Calendar& calendar);
/// "練習 · 3/7 09:30 · 45 分"
[[nodiscard]] QString practiceTitle(const std::optional<QDateTime>& start, std::optional<double> duration,
                                    const Calendar& calendar);
/// Whole seconds below a minute, else minutes, else hours and minutes.
[[nodiscard]] QString shortDuration(double seconds, const MainCopy& copy);
/// Up to three names; of more, the first two and the count of all.
[[nodiscard]] QString people(const QStringList& names);

} // namespace copy::MeetingText
