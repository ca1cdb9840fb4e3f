#include "entry/QuitPolicy.h"

#include "copy/EnvironmentValue.h"

#include <gtest/gtest.h>

namespace entry {
namespace {

TEST(QuitPolicyTest, AnHourOfRecordingEarnsThirtySixSeconds) {
    EXPECT_EQ(QuitPolicy::limit(20.0, 3600.0), 56.0);
}

TEST(QuitPolicyTest, LessThanNothingAndNothingEarnNothing) {
    EXPECT_EQ(QuitPolicy::limit(20.0, -5.0), 20.0);
    EXPECT_EQ(QuitPolicy::limit(20.0, 0.0), 20.0);
    EXPECT_EQ(QuitPolicy::limit(20.0, std::nullopt), 20.0);
}

TEST(QuitPolicyTest, AHundredSecondsEarnOne) {
    EXPECT_EQ(QuitPolicy::limit(20.0, 100.0), 21.0);
}

TEST(QuitPolicyTest, TheLimitsCountTheirVariablesInTestModeAlone) {
    const EnvironmentValue aiWait("TARVEX_AI_QUIT_WAIT", "2.5");
    const EnvironmentValue wait("TARVEX_TERMINATE_WAIT", "1");
    {
        const EnvironmentValue home("TARVEX_HOME", std::nullopt);
        EXPECT_EQ(QuitPolicy::aiWait(), 60.0);
        EXPECT_EQ(QuitPolicy::terminateWaitLimit(), 20.0);
    }
    const EnvironmentValue home("TARVEX_HOME", "/tmp/test");
    EXPECT_EQ(QuitPolicy::aiWait(), 2.5);
    EXPECT_EQ(QuitPolicy::terminateWaitLimit(), 1.0);
}

} // namespace
} // namespace entry
