#include "base/HostClock.h"

#include <ctime>

namespace base {

double MonotonicClock::now() const noexcept {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

} // namespace base
