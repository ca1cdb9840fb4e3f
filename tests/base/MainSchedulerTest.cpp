#include "base/MainScheduler.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace base;

namespace {

class MainSchedulerTest : public testing::Test {
protected:
    int argc = 1;
    char name[5] = "test";
    char* argv[2] = {name, nullptr};
    QCoreApplication application{argc, argv};
    MainScheduler main;
};

TEST_F(MainSchedulerTest, PostedTasksRunLaterAndInOrder) {
    std::vector<int> order;
    main.post([&] { order.push_back(1); });
    main.post([&] {
        order.push_back(2);
        QCoreApplication::quit();
    });
    EXPECT_TRUE(order.empty());
    QCoreApplication::exec();
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST_F(MainSchedulerTest, OtherThreadsReachIt) {
    bool onMain = false;
    bool elsewhere = true;
    std::thread other([&] {
        elsewhere = main.isCurrent();
        main.sync([&] { onMain = main.isCurrent(); });
        main.after(0.001, [] { QCoreApplication::quit(); });
    });
    QCoreApplication::exec();
    other.join();
    EXPECT_TRUE(onMain);
    EXPECT_FALSE(elsewhere);
    EXPECT_TRUE(main.isCurrent());
}

TEST_F(MainSchedulerTest, ATimerMayEndItself) {
    int fired = 0;
    std::unique_ptr<Timer> timer = main.every(0.001, [&] {
        if (++fired == 2) {
            timer.reset();
            main.after(0.01, [] { QCoreApplication::quit(); });
        }
    });
    QCoreApplication::exec();
    EXPECT_EQ(fired, 2);
}

} // namespace
