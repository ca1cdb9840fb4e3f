#include "store/MeetingNaming.h"

#include "base/Files.h"
#include "base/Text.h"
#include "copy/Strings.h"

#include <QRegularExpression>
#include <QStringBuilder>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace store::MeetingNaming {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype baseNameLength = 15;

QString padded(qint64 value, int digits) {
    return QString::number(value).rightJustified(digits, u'0');
}

bool isSeparator(char32_t scalar) {
    constexpr std::u32string_view marks = U"/\\:*?\"<>|-\u2013\u2014_";
    return marks.contains(scalar) || base::Text::isWhitespaceOrNewline(scalar) ||
           QChar::category(scalar) == QChar::Other_Control;
}

void removeTrailingUnderscores(QString& text) {
    while (text.endsWith(u'_')) {
        text.chop(1);
    }
}

/// The digits of `name` at a position as a number; -1 if another character stands among them.
int digitsAt(QStringView name, qsizetype at, qsizetype count) {
    int value = 0;
    for (const QChar c : name.sliced(at, count)) {
        if (c < u'0' || c > u'9') {
            return -1;
        }
        value = value * 10 + (c.unicode() - u'0');
    }
    return value;
}

/// The moment at which the clocks of `timeZone` show the fields of `shown`.
QDateTime momentShownAs(const QDateTime& shown, const QTimeZone& timeZone) {
    const int before = timeZone.offsetFromUtc(shown.addDays(-1));
    const int after = timeZone.offsetFromUtc(shown.addDays(1));
    const QDateTime later = shown.addSecs(-std::min(before, after));
    const QDateTime earlier = shown.addSecs(-std::max(before, after));
    for (const QDateTime& moment : {later, earlier}) {
        if (moment.addSecs(timeZone.offsetFromUtc(moment)) == shown) {
            return moment;
        }
    }
    return shown.addSecs(-before); // no clock showed it: counted on from the offset that ended
}

} // namespace

QString baseName(const QDateTime& start, const QTimeZone& timeZone) {
    const QDateTime local = start.toTimeZone(timeZone);
    const QDate day = local.date();
    const QString year = (day.year() < 0 ? u"-"_s : QString()) + padded(std::abs(day.year()), 4);
    return year + u'_' + padded(day.month(), 2) + u'_' + padded(day.day(), 2) + u'_' + padded(local.time().hour(), 2) +
           padded(local.time().minute(), 2);
}

std::optional<QDateTime> startFromBaseName(QStringView name, const QTimeZone& timeZone) {
    if (name.size() < baseNameLength || name.at(4) != u'_' || name.at(7) != u'_' || name.at(10) != u'_') {
        return std::nullopt;
    }
    // A mark behind the last digit would be part of the same character, which then is no digit.
    if (name.size() > baseNameLength && base::Text::prefix(name.sliced(baseNameLength - 1), 1).size() != 1) {
        return std::nullopt;
    }
    const QDate day(digitsAt(name, 0, 4), digitsAt(name, 5, 2), digitsAt(name, 8, 2));
    const QTime time(digitsAt(name, 11, 2), digitsAt(name, 13, 2));
    if (!day.isValid() || !time.isValid() || day.year() < 1) {
        return std::nullopt;
    }
    return momentShownAs(QDateTime(day, time, Qt::UTC), timeZone);
}

QString slug(QStringView note) {
    QString result;
    bool behindSeparator = false;
    for (const char32_t scalar : note.toUcs4()) {
        if (!isSeparator(scalar)) {
            result += QChar::fromUcs4(scalar);
            behindSeparator = false;
        } else if (!result.isEmpty() && !behindSeparator) {
            result += u'_';
            behindSeparator = true;
        }
    }
    removeTrailingUnderscores(result);
    const auto firstKept = std::ranges::find_if(result, [](QChar c) { return c != u'.'; });
    // A "_" behind the dots stays in front: names once made this way go on being made this way.
    result.remove(0, firstKept - result.begin());
    result = base::Text::prefix(result, maxNoteLength);
    removeTrailingUnderscores(result);
    return result;
}

QString folderName(const QDateTime& start, const std::optional<QString>& note, const QTimeZone& timeZone) {
    const QString title = note ? slug(*note) : QString();
    return baseName(start, timeZone) + u'_' + (title.isEmpty() ? copy::Strings::untitled.toString() : title);
}

QString practiceFolderName(const QDateTime& start, const QTimeZone& timeZone) {
    return baseName(start, timeZone) + u'_' + copy::Strings::practiceFolder;
}

bool isPracticeFolder(const QString& name) {
    static const QRegularExpression pattern(uR"(^\d{4}_\d{2}_\d{2}_\d{4}_)"_s + copy::Strings::practiceFolder +
                                            uR"((_\d+)?$)"_s);
    return pattern.match(name).hasMatch();
}

bool isUnfinishedFolder(const QString& name) {
    static const QRegularExpression pattern(uR"(^\d{4}_\d{2}_\d{2}_\d{4}(_\d+)?$)"_s);
    return pattern.match(name).hasMatch();
}

QString shotName(std::int64_t seconds, int attempt) {
    const QString number = attempt > 1 ? u'_' + QString::number(attempt) : QString();
    return u"shot_" + padded(std::max<std::int64_t>(seconds, 0), 4) + u's' + number + u".jpg";
}

std::filesystem::path uniqueURL(const std::filesystem::path& folder, const QString& name,
                                const std::function<bool(const std::filesystem::path&)>& exists) {
    std::filesystem::path candidate = folder / base::pathFrom(name);
    for (int number = 2; exists(candidate); ++number) {
        candidate = folder / base::pathFrom(name + u'_' + QString::number(number));
    }
    return candidate;
}

} // namespace store::MeetingNaming
