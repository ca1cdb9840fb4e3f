#include "ai/Gestalt.h"

#include "ai/PlainGestalt.h"

#include <gtest/gtest.h>

#include <random>

using namespace ai;
using namespace Qt::StringLiterals;

namespace {

TEST(GestaltTest, EmptySequencesAreAlikeAndOneEmptyIsNot) {
    EXPECT_EQ(Gestalt::ratio(std::vector<int>{}, std::vector<int>{}), 1.0);
    EXPECT_EQ(Gestalt::ratio(std::vector<int>{1}, std::vector<int>{}), 0.0);
}

TEST(GestaltTest, TextsAreComparedCharacterByCharacter) {
    EXPECT_EQ(Gestalt::ratio(u"abcd"_s, u"bcde"_s), 0.75);
    EXPECT_EQ(Gestalt::ratio(u"會議"_s, u"會計"_s), 0.5);
    EXPECT_EQ(Gestalt::ratio(u"e\u0301"_s, u"\u00E9"_s), 1.0);
    EXPECT_EQ(Gestalt::ratio(u"👍🏽"_s, u"👍"_s), 0.0);
}

TEST(GestaltTest, OfEquallyLongBlocksTheFirstInAThenInBIsTaken) {
    // Taking the second "ab" of b for the first of a would leave its "x" without a partner.
    EXPECT_EQ(Gestalt::ratio(u"abx"_s, u"abxab"_s), 0.75);
    EXPECT_EQ(Gestalt::ratio(u"ab--cd"_s, u"cd..ab"_s), 2.0 * 2 / 12);
    EXPECT_EQ(Gestalt::ratio(u"tide"_s, u"diet"_s), 0.25);
    EXPECT_EQ(Gestalt::ratio(u"diet"_s, u"tide"_s), 0.5);
}

TEST(GestaltTest, AProductOf400000IsComparedAndOneMoreIsNot) {
    const std::vector<int> a(400, 1);
    EXPECT_EQ(Gestalt::ratio(a, std::vector<int>(1000, 1)), 2.0 * 400 / 1400);
    const std::vector<int> prime(400'001, 1);
    EXPECT_EQ(Gestalt::ratio(prime, std::vector<int>(1, 1)), 0.0);
    EXPECT_EQ(Gestalt::ratio(std::vector<int>(400'000, 1), std::vector<int>(1, 1)), 2.0 / 400'001);
}

TEST(GestaltTest, EqualsThePlainTableToTheLastBit) {
    std::mt19937 random(11);
    for (int round = 0; round < 3000; ++round) {
        const int letters = 1 + static_cast<int>(random() % 9);
        const auto sequence = [&] {
            std::vector<int> items(random() % 40);
            for (int& item : items) {
                item = static_cast<int>(random() % static_cast<unsigned>(letters));
            }
            return items;
        };
        const auto a = sequence();
        const auto b = sequence();
        const double expected = plain::ratio(a, b);
        ASSERT_EQ(Gestalt::ratio(a, b), expected);
        for (const double limit : {0.3, 0.8, 0.9, expected}) {
            if (limit > 0) {
                ASSERT_EQ(Gestalt::ratioReaches(a, b, limit), expected >= limit);
            }
        }
    }
}

TEST(GestaltTest, ReachingIsToldForLongAndEmptySequencesToo) {
    const std::vector<int> none;
    const std::vector<int> some{1, 2};
    EXPECT_FALSE(Gestalt::ratioReaches(none, some, 0.8));
    EXPECT_TRUE(Gestalt::ratioReaches(none, none, 0.8));
    EXPECT_FALSE(Gestalt::ratioReaches(std::vector<int>(700, 1), std::vector<int>(700, 1), 0.8));
}

} // namespace
