#include "store/Timestamp.h"

namespace store::Timestamp {

using namespace Qt::StringLiterals;

namespace {

constexpr int secondsPerDay = 86400;
constexpr qsizetype leastYearDigits = 4;
constexpr qsizetype mostYearDigits = 6;

QString padded(int value, int digits) {
    return QString::number(value).rightJustified(digits, u'0');
}

QString offsetText(int seconds) {
    if (seconds == 0) {
        return u"Z"_s;
    }
    const int size = std::abs(seconds);
    QString text = (seconds < 0 ? u"-"_s : u"+"_s) + padded(size / 3600, 2) + u':' + padded(size / 60 % 60, 2);
    if (size % 60 != 0) {
        text += u':' + padded(size % 60, 2);
    }
    return text;
}

/// Reads a text from left to right; each step says whether what it asks for stood there.
class Scanner {
public:
    explicit Scanner(QStringView text) : m_rest(text) {}

    bool take(char16_t expected) {
        if (!m_rest.startsWith(QChar(expected))) {
            return false;
        }
        m_rest = m_rest.sliced(1);
        return true;
    }

    /// All the digits that stand here, if there are as many as told.
    std::optional<int> digits(qsizetype least, qsizetype most) {
        qsizetype count = 0;
        int value = 0;
        while (count < m_rest.size() && m_rest.at(count) >= u'0' && m_rest.at(count) <= u'9') {
            if (++count > most) {
                return std::nullopt;
            }
            value = value * 10 + (m_rest.at(count - 1).unicode() - u'0');
        }
        if (count < least) {
            return std::nullopt;
        }
        m_rest = m_rest.sliced(count);
        return value;
    }

    /// Two digits with at most this value.
    std::optional<int> pair(int largest) {
        const auto value = digits(2, 2);
        return value && *value <= largest ? value : std::nullopt;
    }

    [[nodiscard]] bool atEnd() const { return m_rest.isEmpty(); }

private:
    QStringView m_rest;
};

std::optional<QDate> takeDate(Scanner& scanner) {
    const bool beforeOurEra = scanner.take(u'-');
    const auto year = scanner.digits(leastYearDigits, mostYearDigits);
    if (!year || !scanner.take(u'-')) {
        return std::nullopt;
    }
    const auto month = scanner.pair(12);
    if (!month || !scanner.take(u'-')) {
        return std::nullopt;
    }
    const auto day = scanner.pair(31);
    if (!day) {
        return std::nullopt;
    }
    const QDate date(beforeOurEra ? -*year : *year, *month, *day);
    return date.isValid() ? std::optional(date) : std::nullopt;
}

/// Seconds since midnight of "hh:mm", and of "hh:mm:ss" where seconds may or must follow.
enum class Seconds { Required, Optional };

std::optional<int> takeTime(Scanner& scanner, Seconds seconds) {
    const auto hour = scanner.pair(23);
    if (!hour || !scanner.take(u':')) {
        return std::nullopt;
    }
    const auto minute = scanner.pair(59);
    if (!minute) {
        return std::nullopt;
    }
    const int whole = *hour * 3600 + *minute * 60;
    if (!scanner.take(u':')) {
        return seconds == Seconds::Optional ? std::optional(whole) : std::nullopt;
    }
    const auto second = scanner.pair(59);
    return second ? std::optional(whole + *second) : std::nullopt;
}

std::optional<int> takeOffset(Scanner& scanner) {
    if (scanner.take(u'Z')) {
        return 0;
    }
    const bool west = scanner.take(u'-');
    if (!west && !scanner.take(u'+')) {
        return std::nullopt;
    }
    const auto offset = takeTime(scanner, Seconds::Optional);
    return offset && west ? std::optional(-*offset) : offset;
}

} // namespace

QString text(const QDateTime& date, const QTimeZone& timeZone) {
    if (!date.isValid()) {
        return {};
    }
    const int offset = timeZone.isValid() ? timeZone.offsetFromUtc(date) : 0;
    // Shifted by the offset, the fields of UTC are those of the zone, also for offsets of odd seconds.
    const QDateTime shown = date.toUTC().addSecs(offset);
    const QDate day = shown.date();
    const QTime time = shown.time();
    const QString year = (day.year() < 0 ? u"-"_s : QString()) + padded(std::abs(day.year()), leastYearDigits);
    return year + u'-' + padded(day.month(), 2) + u'-' + padded(day.day(), 2) + u'T' + padded(time.hour(), 2) + u':' +
           padded(time.minute(), 2) + u':' + padded(time.second(), 2) + offsetText(offset);
}

std::optional<QDateTime> parse(QStringView text) {
    Scanner scanner(text);
    const auto day = takeDate(scanner);
    if (!day || !scanner.take(u'T')) {
        return std::nullopt;
    }
    const auto time = takeTime(scanner, Seconds::Required);
    if (!time) {
        return std::nullopt;
    }
    const auto offset = takeOffset(scanner);
    if (!offset || !scanner.atEnd()) {
        return std::nullopt;
    }
    static const qint64 epochDay = QDate(1970, 1, 1).toJulianDay();
    const qint64 days = day->toJulianDay() - epochDay;
    return QDateTime::fromSecsSinceEpoch(days * secondsPerDay + *time - *offset, Qt::UTC);
}

} // namespace store::Timestamp
