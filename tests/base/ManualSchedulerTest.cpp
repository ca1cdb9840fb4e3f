#include "fakes/ManualScheduler.h"

#include <gtest/gtest.h>

namespace {

TEST(ManualSchedulerTest, NothingHappensUntilTheClockIsMoved) {
    fakes::ManualScheduler scheduler;
    int ran = 0;
    scheduler.after(2.0, [&] { ++ran; });
    scheduler.advance(1.999);
    EXPECT_EQ(ran, 0);
    scheduler.advance(0.001);
    EXPECT_EQ(ran, 1);
}

TEST(ManualSchedulerTest, TheClockStandsAtTheMomentOfEachTask) {
    fakes::ManualScheduler scheduler;
    const double start = scheduler.clock().now();
    double first = 0;
    double second = 0;
    scheduler.after(1.0, [&] {
        first = scheduler.clock().now() - start;
        scheduler.after(2.0, [&] { second = scheduler.clock().now() - start; });
    });
    scheduler.advance(10);
    EXPECT_EQ(first, 1.0);
    EXPECT_EQ(second, 3.0);
}

TEST(ManualSchedulerTest, ARepeatingTimerKeepsItsRasterAndEndsWithItsHandle) {
    fakes::ManualScheduler scheduler;
    int fired = 0;
    auto timer = scheduler.every(0.5, [&] { ++fired; });
    scheduler.advance(5.0);
    EXPECT_EQ(fired, 10);
    timer.reset();
    scheduler.advance(5.0);
    EXPECT_EQ(fired, 10);
}

TEST(ManualSchedulerTest, SyncRunsWhatWasPostedBefore) {
    fakes::ManualDispatch dispatch;
    const auto queue = dispatch.makeSerialQueue("queue", base::Priority::Utility);
    std::vector<int> order;
    queue->post([&] { order.push_back(1); });
    queue->after(1.0, [&] { order.push_back(3); });
    queue->sync([&] {
        EXPECT_TRUE(queue->isCurrent());
        order.push_back(2);
    });
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
    dispatch.advance(1.0);
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

} // namespace
