#include "copy/FixedText.h"

#include <gtest/gtest.h>

#include <type_traits>

using namespace Qt::StringLiterals;
using copy::FixedText;

namespace {

constexpr FixedText sample = u"錄音 a";

TEST(FixedText, BecomesAStringWithoutCopyingTheLiteral) {
    const QString text = sample;
    EXPECT_EQ(text, u"錄音 a"_s);
    EXPECT_EQ(text.constData(), sample.data());
}

TEST(FixedText, AChangeOfTheStringLeavesTheLiteralAlone) {
    QString text = sample;
    text[0] = u'x';
    EXPECT_EQ(text, u"x音 a"_s);
    EXPECT_EQ(QString(sample), u"錄音 a"_s);
}

TEST(FixedText, HoldsEveryUnitBetweenTheQuotesAndNoMore) {
    constexpr FixedText empty = u"";
    EXPECT_EQ(sample.size(), 4);
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_FALSE(QString(empty).isNull());
}

TEST(FixedText, ComparesWithStringsAndTexts) {
    EXPECT_TRUE(sample == u"錄音 a"_s);
    EXPECT_TRUE(u"錄音 a"_s == sample);
    EXPECT_TRUE(sample == FixedText(u"錄音 a"));
    EXPECT_FALSE(sample == u"錄音 b"_s);
    EXPECT_FALSE(sample == FixedText(u"錄音"));
}

TEST(FixedText, IsAPieceOfAConcatenation) {
    const QString joined = u"<"_s + sample + u'>';
    EXPECT_EQ(joined, u"<錄音 a>"_s);
}

static_assert(std::is_trivially_copyable_v<FixedText>);

} // namespace
