// The date and time that people read: names of folders, stamps in files, ages. It can be set back at any moment,
// so no length of time is ever measured with it.
//   Threads  any
#pragma once

#include <QDateTime>
#include <QTimeZone>

namespace base {

class WallClock {
public:
    virtual ~WallClock() = default;
    [[nodiscard]] virtual QDateTime now() const = 0;
    /// The zone that names and stamps are written in; asked anew at each use, since the user can travel.
    [[nodiscard]] virtual QTimeZone timeZone() const = 0;
};

class SystemWallClock final : public WallClock {
public:
    [[nodiscard]] QDateTime now() const override;
    [[nodiscard]] QTimeZone timeZone() const override;
};

} // namespace base
