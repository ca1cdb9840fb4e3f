#include "base/TimedTasks.h"

#include <algorithm>
#include <cmath>

namespace base {

namespace {

/// The shortest period: 0 or less would fire without end.
constexpr double shortestPeriod = 0.001;

struct Repeating : std::enable_shared_from_this<Repeating> {
    Repeating(Scheduler& where, const HostClock& host, double period, Task work)
        : scheduler(where)
        , clock(host)
        , seconds(std::max(period, shortestPeriod))
        , task(std::move(work))
        , due(clock.now() + seconds) {}

    Scheduler& scheduler;
    const HostClock& clock;
    double seconds;
    Task task;
    double due;

    void arm() {
        scheduler.after(due - clock.now(), [weak = weak_from_this()] {
            if (const auto self = weak.lock()) {
                self->fire();
            }
        });
    }

    void fire() {
        const double late = clock.now() - due;
        due += seconds * (1 + std::floor(std::max(late, 0.0) / seconds));
        arm();
        const Task held = task; // the task may destroy its own timer
        held();
    }
};

class RepeatingHandle final : public Timer {
public:
    explicit RepeatingHandle(std::shared_ptr<Repeating> timer) : m_timer(std::move(timer)) {}

private:
    std::shared_ptr<Repeating> m_timer;
};

} // namespace

std::unique_ptr<Timer> startRepeating(Scheduler& scheduler, const HostClock& clock, double seconds, Task task) {
    auto timer = std::make_shared<Repeating>(scheduler, clock, seconds, std::move(task));
    timer->arm();
    return std::make_unique<RepeatingHandle>(std::move(timer));
}

} // namespace base
