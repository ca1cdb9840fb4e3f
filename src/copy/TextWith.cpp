#include "copy/TextWith.h"

namespace copy::detail {

namespace {

QString written(const Place& place, const Filling& filling) {
    switch (place.kind) {
    case Kind::Text:
        return std::get<QStringView>(filling).toString();
    case Kind::Whole: {
        const auto number = std::get<std::int64_t>(filling);
        const auto sign = number < 0 ? 1 : 0; // printf counts the sign into the width
        const auto digits = QString::number(number).mid(sign).rightJustified(place.digits - sign, u'0');
        return sign == 1 ? QString(u'-' + digits) : digits;
    }
    case Kind::Decimal:
        return QString::number(std::get<double>(filling), 'f', place.digits);
    }
    Q_UNREACHABLE();
}

} // namespace

QString filled(QStringView text, std::span<const Filling> fillings) {
    QString result;
    for (const auto& filling : fillings) {
        const auto percent = text.indexOf(u'%');
        const auto rest = text.sliced(percent);
        const auto place = placeAt({rest.utf16(), static_cast<std::size_t>(rest.size())});
        result += text.first(percent);
        result += written(*place, filling); // there: TextWith compiles only when text and fillings agree
        text = rest.sliced(static_cast<qsizetype>(place->length));
    }
    return result + text;
}

} // namespace copy::detail
