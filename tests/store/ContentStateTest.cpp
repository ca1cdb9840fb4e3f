#include "store/ContentState.h"

#include <gtest/gtest.h>

using store::ContentState;

namespace {

TEST(ContentStateTest, OnlyAFileThatIsReadyHasARecord) {
    EXPECT_EQ(*ContentState<int>::ready(7).value(), 7);
    EXPECT_EQ(ContentState<int>::none().value(), nullptr);
    EXPECT_EQ(ContentState<int>::broken().value(), nullptr);
}

TEST(ContentStateTest, ABrokenFileIsNotAMissingOne) {
    EXPECT_TRUE(ContentState<int>::none().isNone());
    EXPECT_TRUE(ContentState<int>::broken().isBroken());
    EXPECT_TRUE(ContentState<int>::ready(0).isReady());
    EXPECT_NE(ContentState<int>::none(), ContentState<int>::broken());
    EXPECT_NE(ContentState<int>::ready(1), ContentState<int>::ready(2));
}

} // namespace
