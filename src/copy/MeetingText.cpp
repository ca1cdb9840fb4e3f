#include "copy/MeetingText.h"

#include "copy/Strings.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace copy::MeetingText {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype namesShown = 3;
constexpr qsizetype namesBeforeCount = 2;

enum class Group { Unknown, Today, Yesterday, ThisWeek, Month };

QDateTime local(const QDateTime& date, const Calendar& calendar) {
    return date.toTimeZone(calendar.timeZone);
}

QDate mondayOf(const QDate& day) {
    return day.addDays(1 - day.dayOfWeek());
}

Group groupOf(const std::optional<QDateTime>& date, const QDateTime& now, const Calendar& calendar) {
    if (!date) {
        return Group::Unknown;
    }
    const QDate day = local(*date, calendar).date();
    const QDate today = local(now, calendar).date();
    if (day == today) {
        return Group::Today;
    }
    if (day == today.addDays(-1)) {
        return Group::Yesterday;
    }
    return *date < now && mondayOf(day) == mondayOf(today) ? Group::ThisWeek : Group::Month;
}

QString clockTime(const QDateTime& moment) {
    return moment.toString(u"HH:mm");
}

QString dayAndTime(const QDateTime& moment) {
    return moment.toString(u"M/d HH:mm");
}

} // namespace

Calendar calendar() {
    return {QTimeZone::systemTimeZone()};
}

QString groupTitle(const std::optional<QDateTime>& date, const QDateTime& now, const Calendar& calendar) {
    switch (groupOf(date, now, calendar)) {
    case Group::Unknown:
        return Strings::groupUnknown;
    case Group::Today:
        return Strings::groupToday;
    case Group::Yesterday:
        return Strings::groupYesterday;
    case Group::ThisWeek:
        return Strings::groupThisWeek;
    case Group::Month:
        break;
    }
    const QDate day = local(*date, calendar).date();
    return Strings::groupMonth(day.year(), day.month());
}

QString rowTime(const std::optional<QDateTime>& date, const QDateTime& now, const Calendar& calendar) {
    switch (groupOf(date, now, calendar)) {
    case Group::Unknown:
        return {};
    case Group::Today:
    case Group::Yesterday:
        return clockTime(local(*date, calendar));
    case Group::ThisWeek:
        return weekday(*date, calendar) + u' ' + clockTime(local(*date, calendar));
    case Group::Month:
        break;
    }
    return dayAndTime(local(*date, calendar));
}

QString weekday(const QDateTime& date, const Calendar& calendar) {
    const auto index = static_cast<std::size_t>(local(date, calendar).date().dayOfWeek() - 1);
    return index < Strings::weekdays.size() ? Strings::weekdays[index].toString() : QString();
}

QString infoDate(const QDateTime& date, const Calendar& calendar) {
    const QDateTime moment = local(date, calendar);
    return moment.toString(u"M/d") + u' ' + weekday(date, calendar) + u' ' + clockTime(moment);
}

QString sideDetail(const std::optional<QDateTime>& start, std::optional<double> duration, const Calendar& calendar) {
    QStringList parts;
    if (start) {
        parts.append(dayAndTime(local(*start, calendar)));
    }
    if (duration && *duration > 0) {
        parts.append(shortDuration(*duration, MainCopy::zh));
    }
    return parts.join(u" · "_s);
}

QString practiceTitle(const std::optional<QDateTime>& start, std::optional<double> duration, const Calendar& calendar) {
    const QString detail = sideDetail(start, duration, calendar);
    return detail.isEmpty() ? Strings::practiceBadge.toString() : QString(Strings::practiceBadge + u" · "_s + detail);
}

QString shortDuration(double seconds, const MainCopy& copy) {
    // A file edited by hand can hold any number; a hundred years are long enough for a meeting.
    constexpr double longest = 3.2e9;
    if (!(seconds > 0)) { // also what is no number
        return copy.secondsShort(0);
    }
    const auto whole = static_cast<std::int64_t>(std::round(std::min(seconds, longest)));
    if (whole < 60) {
        return copy.secondsShort(whole);
    }
    const auto minutes = static_cast<int>(std::round(static_cast<double>(whole) / 60));
    return minutes <= 59 ? copy.minutesShort(minutes) : copy.hoursShort(minutes / 60, minutes % 60);
}

QString people(const QStringList& names) {
    if (names.size() <= namesShown) {
        return names.join(u'、');
    }
    return names.first(namesBeforeCount).join(u'、') + Strings::peopleMore(static_cast<int>(names.size()));
}

} // namespace copy::MeetingText
