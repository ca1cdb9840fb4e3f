#include "capture/FirstWins.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace capture {
namespace {

TEST(FirstWins, OnlyTheFirstClaimSucceeds) {
    FirstWins race;
    EXPECT_TRUE(race.claim());
    EXPECT_FALSE(race.claim());
    EXPECT_FALSE(race.claim());
}

TEST(FirstWins, OfManyThreadsOneWins) {
    for (int round = 0; round < 50; ++round) {
        FirstWins race;
        std::atomic<int> winners = 0;
        std::vector<std::jthread> threads;
        for (int index = 0; index < 4; ++index) {
            threads.emplace_back([&] { winners += race.claim() ? 1 : 0; });
        }
        threads.clear();
        ASSERT_EQ(winners, 1);
    }
}

} // namespace
} // namespace capture
