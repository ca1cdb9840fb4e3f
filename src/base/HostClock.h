// The one monotonic clock of stamps, elapsed times and time limits.
//   Units    seconds as doubles, since an unspecified moment; never set back, stands still while the machine sleeps
//   Threads  any
#pragma once

namespace base {

class HostClock {
public:
    virtual ~HostClock() = default;
    [[nodiscard]] virtual double now() const noexcept = 0;
};

/// CLOCK_MONOTONIC.
class MonotonicClock final : public HostClock {
public:
    [[nodiscard]] double now() const noexcept override;
};

} // namespace base
