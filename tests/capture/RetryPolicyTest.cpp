#include "capture/RetryPolicy.h"

#include <gtest/gtest.h>

namespace capture {
namespace {

TEST(RetryPolicy, AnotherTryFollowsAttemptsOneToThree) {
    EXPECT_FALSE(RetryPolicy::shouldRetry(-1));
    EXPECT_FALSE(RetryPolicy::shouldRetry(0));
    EXPECT_TRUE(RetryPolicy::shouldRetry(1));
    EXPECT_TRUE(RetryPolicy::shouldRetry(2));
    EXPECT_TRUE(RetryPolicy::shouldRetry(3));
    EXPECT_FALSE(RetryPolicy::shouldRetry(4));
}

TEST(RetryPolicy, TriesAreTwoSecondsApart) {
    EXPECT_EQ(RetryPolicy::delay, 2.0);
    EXPECT_EQ(RetryPolicy::maxAttempts, 3);
}

} // namespace
} // namespace capture
