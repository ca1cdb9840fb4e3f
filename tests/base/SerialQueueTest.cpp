#include "base/SerialQueue.h"

#include "base/Dispatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <latch>
#include <thread>
#include <vector>

using namespace base;

namespace {

TEST(SerialQueueTest, TasksRunInTheirOrderAndOneAtATime) {
    SerialQueue queue("com.orvane.tarvex.test");
    std::vector<int> order; // touched on the queue alone
    for (int i = 0; i < 100; ++i) {
        queue.post([&order, i] { order.push_back(i); });
    }
    queue.sync([&] { order.push_back(100); });
    ASSERT_EQ(order.size(), 101U);
    EXPECT_TRUE(std::ranges::is_sorted(order));
}

TEST(SerialQueueTest, TasksOfSeveralThreadsAllRunOnTheOneThread) {
    SerialQueue queue("test");
    int count = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                queue.post([&] { ++count; });
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    queue.sync([] {});
    EXPECT_EQ(count, 2000);
}

TEST(SerialQueueTest, KnowsWhetherItIsTheCurrentOne) {
    SerialQueue queue("test");
    bool inside = false;
    queue.sync([&] { inside = queue.isCurrent(); });
    EXPECT_TRUE(inside);
    EXPECT_FALSE(queue.isCurrent());
}

TEST(SerialQueueTest, DelayedTasksRunInTheOrderOfTheirMoments) {
    SerialQueue queue("test");
    std::vector<int> order;
    std::latch done(2);
    queue.post([&] {
        queue.after(0.02, [&] {
            order.push_back(2);
            done.count_down();
        });
        queue.after(-1, [&] {
            order.push_back(1);
            done.count_down();
        });
    });
    done.wait();
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(SerialQueueTest, ATimerFiresUntilItsHandleGoes) {
    SerialQueue queue("test");
    std::latch third(3);
    int fired = 0;
    std::unique_ptr<Timer> timer;
    queue.sync([&] {
        timer = queue.every(0.002, [&] {
            if (++fired == 3) {
                timer.reset();
            }
            third.count_down();
        });
    });
    third.wait();
    queue.sync([] {});
    queue.sync([&] { EXPECT_EQ(timer, nullptr); });
    EXPECT_EQ(fired, 3);
}

TEST(SerialQueueTest, TheLastHandleMayGoOnItsOwnThread) {
    auto ended = std::make_shared<std::latch>(1);
    auto queue = std::make_shared<SerialQueue>("test");
    queue->post([queue, ended]() mutable {
        queue.reset();
        ended->count_down();
    });
    queue.reset();
    ended->wait();
}

TEST(SerialQueueTest, TasksThatNeverRanAreLetGo) {
    auto held = std::make_shared<int>(1);
    {
        std::latch running(1); // outlive the queue, whose task waits for them
        std::latch goOn(1);
        SerialQueue queue("test");
        queue.post([&] {
            running.count_down();
            goOn.wait();
        });
        running.wait();
        queue.after(1000, [held] { FAIL(); });
        goOn.count_down();
    }
    EXPECT_EQ(held.use_count(), 1);
}

TEST(ThreadDispatchTest, WaitsForItsBackgroundWork) {
    SerialQueue main("main");
    std::atomic<int> done = 0;
    {
        ThreadDispatch dispatch(main);
        for (int i = 0; i < 8; ++i) {
            dispatch.background(Priority::Utility, [&] { ++done; });
        }
    }
    EXPECT_EQ(done, 8);
}

} // namespace
