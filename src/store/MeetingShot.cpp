#include "store/MeetingShot.h"

#include <QByteArray>

#include <charconv>

namespace store {

std::optional<std::int64_t> MeetingShot::secondsFromName(QStringView name) {
    constexpr QStringView prefix = u"shot_";
    constexpr QStringView suffix = u".jpg";
    if (name.size() < prefix.size() + suffix.size() || !name.startsWith(prefix) ||
        !name.endsWith(suffix, Qt::CaseInsensitive)) {
        return std::nullopt;
    }
    const QStringView middle = name.sliced(prefix.size()).chopped(suffix.size());
    const qsizetype end = middle.indexOf(u's');
    if (end < 1) {
        return std::nullopt;
    }
    const QByteArray number = middle.first(end).toUtf8();
    const char* const last = number.constData() + number.size();
    std::int64_t seconds = 0;
    const auto [stop, error] = std::from_chars(number.constData(), last, seconds);
    return error == std::errc{} && stop == last ? std::optional(seconds) : std::nullopt;
}

} // namespace store
