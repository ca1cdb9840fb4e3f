// Dates as the files of AI work hold them.
#pragma once

#include "base/WallClock.h"
#include "store/Timestamp.h"

#include <QDateTime>
#include <QString>

namespace ai::AIPipeline {

/// "2026-11-15T16:22:11+08:00" in the zone where the user is.
[[nodiscard]] inline QString stamp(const QDateTime& date, const base::WallClock& clock) {
    return store::Timestamp::text(date, clock.timeZone());
}

} // namespace ai::AIPipeline
