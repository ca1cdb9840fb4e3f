#include "base/WallClock.h"

namespace base {

QDateTime SystemWallClock::now() const {
    return QDateTime::currentDateTimeUtc();
}

QTimeZone SystemWallClock::timeZone() const {
    return QTimeZone::systemTimeZone();
}

} // namespace base
