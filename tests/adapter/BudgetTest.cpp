#include "adapter/Budget.h"

#include <gtest/gtest.h>

#include <vector>

using adapter::Budget;
using ai::SpeechModel;

namespace {

const std::vector<SpeechModel> models{
    {"large", "/l", 8.0, false}, {"small", "/s", 1.5, false}, {"tiny", "/t", 0.25, false}};

} // namespace

TEST(BudgetTest, BeforeAnythingIsMeasuredTheCoresDecide) {
    EXPECT_DOUBLE_EQ(Budget(1).expected(models[1], 100.0), 150.0) << "a core is never counted as less than one";
    EXPECT_DOUBLE_EQ(Budget(0).expected(models[1], 100.0), 150.0);
    EXPECT_DOUBLE_EQ(Budget(10).expected(models[0], 70.0), 80.0);
}

TEST(BudgetTest, TheFirstModelThatFitsIsChosen) {
    const Budget budget(1);
    EXPECT_EQ(budget.choose(models, 100.0, 800.0 / Budget::margin), 0U);
    EXPECT_EQ(budget.choose(models, 100.0, 799.0 / Budget::margin), 1U);
    EXPECT_EQ(budget.choose(models, 100.0, 150.0 / Budget::margin), 1U);
    EXPECT_EQ(budget.choose(models, 100.0, 149.0 / Budget::margin), 2U);
}

TEST(BudgetTest, WhereNoneFitsTheQuickestIsChosen) {
    EXPECT_EQ(Budget(1).choose(models, 100.0, 1.0), 2U);
    EXPECT_EQ(Budget(1).choose(models, 100.0, -5.0), 2U);
}

TEST(BudgetTest, WhatWasMeasuredCountsForAllModels) {
    Budget budget(1);
    budget.measured(models[0], 60.0, 48.0); // ten times as fast as was assumed
    EXPECT_DOUBLE_EQ(budget.expected(models[0], 100.0), 80.0);
    EXPECT_DOUBLE_EQ(budget.expected(models[1], 100.0), 15.0);
}

TEST(BudgetTest, APieceOfNoLengthMeasuresNothing) {
    Budget budget(1);
    budget.measured(models[0], 0.0, 5.0);
    EXPECT_DOUBLE_EQ(budget.expected(models[1], 100.0), 150.0);
}
