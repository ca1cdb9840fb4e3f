// A clock and queues that only move when the test says so: 45 seconds pass at once.
//   Threads  the test's own, for everything: a queue's task is "on" its queue while it runs
#pragma once

#include "base/Dispatch.h"
#include "base/HostClock.h"
#include "base/Scheduler.h"
#include "base/WallClock.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace fakes {

class ManualClock final : public base::HostClock {
public:
    [[nodiscard]] double now() const noexcept override { return m_now; }

    void set(double now) { m_now = now; }

private:
    double m_now = 1000.0; // a machine that has been up for a while: 0 would hide a forgotten subtraction
};

class ManualWallClock final : public base::WallClock {
public:
    QDateTime time = QDateTime(QDate(2025, 3, 7), QTime(9, 30, 12), QTimeZone("Asia/Taipei"));
    QTimeZone zone = QTimeZone("Asia/Taipei");

    [[nodiscard]] QDateTime now() const override { return time; }

    [[nodiscard]] QTimeZone timeZone() const override { return zone; }
};

/// The tasks of all queues of a test, in the order of their moments.
class ManualTimeline {
public:
    explicit ManualTimeline(ManualClock& clock) : m_clock(clock) {}

    void add(double due, const base::Scheduler* where, base::Task task);
    /// Runs everything that is due now, and what that posts, until nothing is left.
    void runDue();
    /// Moves the clock by `seconds`, stopping at the moment of each task on the way.
    void advance(double seconds);
    /// Runs what was posted (not delayed) to `where` so far.
    void runPosted(const base::Scheduler* where);

    [[nodiscard]] std::size_t waiting() const { return m_tasks.size(); }

    [[nodiscard]] const base::Scheduler* running() const { return m_running; }

    [[nodiscard]] ManualClock& clock() const { return m_clock; }

    void run(const base::Scheduler* where, const base::Task& task);
    /// Drops what never ran. Tasks may hold their queue, which holds this timeline.
    void clear();

private:
    struct Entry {
        const base::Scheduler* where;
        base::Task task;
    };

    ManualClock& m_clock;
    std::map<std::pair<double, std::uint64_t>, Entry> m_tasks;
    std::uint64_t m_order = 0;
    const base::Scheduler* m_running = nullptr;
};

class ManualScheduler final : public base::Scheduler {
public:
    /// With a clock and a timeline of its own.
    ManualScheduler();
    explicit ManualScheduler(std::shared_ptr<ManualTimeline> timeline, std::string label = {},
                             base::Priority priority = base::Priority::Default);
    ~ManualScheduler() override;

    void post(base::Task task) override;
    void after(double seconds, base::Task task) override;
    void sync(const base::Task& task) override; ///< runs what was posted to it before, then the task, at once
    [[nodiscard]] std::unique_ptr<base::Timer> every(double seconds, base::Task task) override;
    [[nodiscard]] bool isCurrent() const noexcept override;

    void runDue() { m_timeline->runDue(); }

    void advance(double seconds) { m_timeline->advance(seconds); }

    [[nodiscard]] ManualTimeline& timeline() { return *m_timeline; }

    [[nodiscard]] ManualClock& clock() { return m_timeline->clock(); }

    std::string label;
    base::Priority priority = base::Priority::Default;

private:
    std::unique_ptr<ManualClock> m_ownClock;
    std::shared_ptr<ManualTimeline> m_timeline;
};

/// Main thread, queues and background work, all on one hand-moved clock.
class ManualDispatch final : public base::Dispatch {
public:
    ManualDispatch();
    ~ManualDispatch() override;

    [[nodiscard]] base::Scheduler& main() override { return m_main; }

    [[nodiscard]] std::shared_ptr<base::Scheduler> makeSerialQueue(std::string label, base::Priority priority) override;
    void background(base::Priority priority, base::Task task) override;

    void runDue() { m_timeline->runDue(); }

    void advance(double seconds) { m_timeline->advance(seconds); }

    [[nodiscard]] ManualTimeline& timeline() { return *m_timeline; }

    ManualClock clock;
    std::vector<std::pair<std::string, base::Priority>> madeQueues;
    int backgroundTasks = 0;
    bool holdBackground = false; ///< background work is kept until releaseBackground()
    void releaseBackground();

private:
    std::shared_ptr<ManualTimeline> m_timeline;
    ManualScheduler m_main;
    ManualScheduler m_background;
    std::vector<base::Task> m_held;
};

} // namespace fakes
