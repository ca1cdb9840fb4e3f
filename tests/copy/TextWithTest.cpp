#include "copy/TextWith.h"

#include <QLocale>
#include <gtest/gtest.h>

#include <array>
#include <limits>

using namespace Qt::StringLiterals;
using copy::TextWith;
using copy::detail::hasPlaces;
using copy::detail::Kind;

namespace {

constexpr std::array<Kind, 0> none{};
constexpr std::array text{Kind::Text};
constexpr std::array whole{Kind::Whole};
constexpr std::array decimal{Kind::Decimal};
constexpr std::array wholeThenText{Kind::Whole, Kind::Text};

// What the compiler accepts as the places of a literal.
static_assert(hasPlaces(u"", none));
static_assert(hasPlaces(u"plain", none));
static_assert(!hasPlaces(u"%@", none));
static_assert(!hasPlaces(u"plain", text));
static_assert(hasPlaces(u"a %@ b", text));
static_assert(!hasPlaces(u"%d", text));
static_assert(!hasPlaces(u"%@%@", text));
static_assert(hasPlaces(u"%d", whole) && hasPlaces(u"%02d", whole));
static_assert(hasPlaces(u"%.1f", decimal) && hasPlaces(u"%.0f", decimal));
static_assert(!hasPlaces(u"%.2f", decimal));
static_assert(hasPlaces(u"%d、%@", wholeThenText));
static_assert(!hasPlaces(u"%@、%d", wholeThenText));
static_assert(!hasPlaces(u"100% %@", text));

TEST(TextWith, PlacesAreFilledInTheirOrder) {
    constexpr TextWith<QString, int, QString> sentence{u"%@ 說了 %d 次%@。"};
    EXPECT_EQ(sentence(u"小明"_s, 3, u"好"_s), u"小明 說了 3 次好。"_s);
}

TEST(TextWith, APlaceInsideAFillingStaysAsItIs) {
    constexpr TextWith<QString, QString> pair{u"%@ · %@"};
    EXPECT_EQ(pair(u"%@ %d %1"_s, u"100%"_s), u"%@ %d %1 · 100%"_s);
}

TEST(TextWith, PlacesMayTouchAndStandAtEitherEnd) {
    constexpr TextWith<QString, QString> touching{u"%@%@"};
    EXPECT_EQ(touching(u"a"_s, u"b"_s), u"ab"_s);
    EXPECT_EQ(touching(QString(), QString()), QString());
}

TEST(TextWith, WholeNumbersAreWrittenInFull) {
    constexpr TextWith<int> number{u"%d"};
    EXPECT_EQ(number(0), u"0"_s);
    EXPECT_EQ(number(1234567), u"1234567"_s);
    EXPECT_EQ(number(-5), u"-5"_s);
    EXPECT_EQ(number(std::numeric_limits<std::int64_t>::min()), u"-9223372036854775808"_s);
}

TEST(TextWith, TwoDigitsArePaddedWithAZeroAndNeverCut) {
    constexpr TextWith<int> number{u"%02d"};
    EXPECT_EQ(number(0), u"00"_s);
    EXPECT_EQ(number(9), u"09"_s);
    EXPECT_EQ(number(10), u"10"_s);
    EXPECT_EQ(number(100), u"100"_s);
    EXPECT_EQ(number(-5), u"-5"_s);
    EXPECT_EQ(number(-50), u"-50"_s);
}

TEST(TextWith, DecimalsHaveTheirDigitsAndAPointInEveryLocale) {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German));
    constexpr TextWith<double, double> numbers{u"%.1f|%.0f"};
    EXPECT_EQ(numbers(1234.56, 2.6), u"1234.6|3"_s);
    EXPECT_EQ(numbers(-0.5, 8.0), u"-0.5|8"_s);
    QLocale::setDefault(before);
}

TEST(TextWith, AConcatenationCanBeAFilling) {
    constexpr TextWith<QString> quoted{u"「%@」"};
    EXPECT_EQ(quoted(u"a"_s + u"b"_s), u"「ab」"_s);
}

TEST(TextWith, TheTextItselfKeepsItsPlaces) {
    constexpr TextWith<int, QString> sentence{u"%02d %@"};
    EXPECT_EQ(sentence.text(), u"%02d %@"_s);
}

} // namespace
