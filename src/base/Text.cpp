#include "base/Text.h"

#include <QStringList>
#include <QTextBoundaryFinder>

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace base::Text {

using namespace Qt::StringLiterals;

namespace {

/// Position in UTF-16 units behind the first `count` clusters.
qsizetype endOfClusters(QStringView text, qsizetype count) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    for (qsizetype seen = 0; seen < count; ++seen) {
        if (finder.toNextBoundary() < 0) {
            return text.size();
        }
    }
    return finder.position();
}

template<typename Predicate>
QString trimmedWhere(QStringView text, Predicate isOut) {
    qsizetype first = 0;
    qsizetype last = text.size();
    while (first < last && isOut(text.at(first).unicode())) {
        ++first;
    }
    while (last > first && isOut(text.at(last - 1).unicode())) {
        --last;
    }
    return text.sliced(first, last - first).toString();
}

} // namespace

qsizetype characterCount(QStringView text) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    qsizetype count = 0;
    while (finder.toNextBoundary() >= 0) {
        ++count;
    }
    return count;
}

QString prefix(QStringView text, qsizetype count) {
    // A cluster has at least one unit, so a text this short needs no walk.
    return text.size() <= count ? text.toString() : text.first(endOfClusters(text, count)).toString();
}

bool isNewline(char32_t scalar) {
    return (scalar >= 0x0A && scalar <= 0x0D) || scalar == 0x85 || scalar == 0x2028 || scalar == 0x2029;
}

bool isWhitespaceOrNewline(char32_t scalar) {
    // Every character of the category Z and every line end is in the basic plane.
    return scalar == u'\t' || isNewline(scalar) || QChar::isSpace(scalar);
}

QString trimmed(QStringView text) {
    return trimmedWhere(text, [](char16_t unit) { return isWhitespaceOrNewline(unit); });
}

QString trimmedBlanks(QStringView text) {
    return trimmedWhere(text, [](char16_t unit) {
        return unit == u'\t' || QChar::category(static_cast<char32_t>(unit)) == QChar::Separator_Space;
    });
}

bool equalIgnoringCase(QStringView left, QStringView right) {
    if (left.compare(right, Qt::CaseInsensitive) == 0) {
        return true;
    }
    const auto composed = [](QStringView text) { return text.toString().normalized(QString::NormalizationForm_C); };
    return composed(left).compare(composed(right), Qt::CaseInsensitive) == 0;
}

QString oneDecimal(double value) {
    // Not QString::number, which rounds ties away from zero where printf takes the even digit.
    std::array<char, std::numeric_limits<double>::max_exponent10 + 8> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), value, std::chars_format::fixed, 1).ptr;
    const QString text = QString::fromLatin1(digits.data(), end - digits.begin());
    return text == "-0.0"_L1 ? u"0.0"_s : text;
}

double roundedToTenth(double value) {
    return std::round(value * 10) / 10;
}

QString format(const QString& text, const QStringList& arguments) {
    QString result;
    qsizetype from = 0;
    for (const QString& argument : arguments) {
        const qsizetype at = text.indexOf("%@"_L1, from);
        if (at < 0) {
            break;
        }
        result += QStringView(text).sliced(from, at - from);
        result += argument;
        from = at + 2;
    }
    result += QStringView(text).sliced(from);
    return result;
}

} // namespace base::Text
