#include "base/Text.h"

#include <QLocale>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
namespace Text = base::Text;

namespace {

TEST(TextTest, CharactersAreWhatAPersonCounts) {
    EXPECT_EQ(Text::characterCount(u""), 0);
    EXPECT_EQ(Text::characterCount(u"會議"), 2);
    EXPECT_EQ(Text::characterCount(u"e\u0301"), 1);
    EXPECT_EQ(Text::characterCount(u"😀👍🏽"), 2);
    EXPECT_EQ(Text::characterCount(u"\r\n"), 1);
}

TEST(TextTest, PrefixNeverCutsACharacter) {
    EXPECT_EQ(Text::prefix(u"ab😀c", 3), u"ab😀"_s);
    EXPECT_EQ(Text::prefix(u"e\u0301x", 1), u"e\u0301"_s);
    EXPECT_EQ(Text::prefix(u"ab", 2), u"ab"_s);
    EXPECT_EQ(Text::prefix(u"ab", 9), u"ab"_s);
    EXPECT_EQ(Text::prefix(u"ab", 0), u""_s);
}

TEST(TextTest, TrimmingTakesEveryKindOfBlankAtTheEndsAlone) {
    EXPECT_EQ(Text::trimmed(u" \t\r\n\v\f\u0085\u00A0\u2028\u3000a b\u3000\n"), u"a b"_s);
    EXPECT_EQ(Text::trimmed(u"\u200Ba"), u"\u200Ba"_s);
    EXPECT_EQ(Text::trimmed(u" \n "), u""_s);
}

TEST(TextTest, TrimmingBlanksLeavesLineEnds) {
    EXPECT_EQ(Text::trimmedBlanks(u" \t\u3000\na \n"), u"\na \n"_s);
    EXPECT_EQ(Text::trimmedBlanks(u"  Calendar\t"), u"Calendar"_s);
}

TEST(TextTest, OneDecimalIsTheSameInEveryLocale) {
    QLocale::setDefault(QLocale(QLocale::German));
    EXPECT_EQ(Text::oneDecimal(1234.56), u"1234.6"_s);
    EXPECT_EQ(Text::oneDecimal(-0.04), u"0.0"_s);
    EXPECT_EQ(Text::oneDecimal(-0.06), u"-0.1"_s);
    QLocale::setDefault(QLocale::c());
}

TEST(TextTest, OneDecimalOfATieIsTheEvenDigitAsPrintfHasIt) {
    EXPECT_EQ(Text::oneDecimal(0.25), u"0.2"_s);
    EXPECT_EQ(Text::oneDecimal(0.75), u"0.8"_s);
    EXPECT_EQ(Text::oneDecimal(-1.25), u"-1.2"_s);
    EXPECT_EQ(Text::oneDecimal(1e300).size(), 303);
}

TEST(TextTest, TenthsAreRoundedAwayFromZero) {
    EXPECT_EQ(Text::roundedToTenth(0.25), 0.3);
    EXPECT_EQ(Text::roundedToTenth(-0.25), -0.3);
    EXPECT_EQ(Text::roundedToTenth(12.34), 12.3);
    EXPECT_EQ(Text::roundedToTenth(0.04), 0.0);
}

TEST(TextTest, FormatPutsArgumentsInOrderAndLeavesThemAsTheyAre) {
    EXPECT_EQ(Text::format(u"%@ and %@"_s, {u"%@"_s, u"%1"_s}), u"%@ and %1"_s);
    EXPECT_EQ(Text::format(u"none"_s, {u"x"_s}), u"none"_s);
    EXPECT_EQ(Text::format(u"%@%@"_s, {u"x"_s}), u"x%@"_s);
}

TEST(Text, NamesAreEqualWhateverTheirCase) {
    EXPECT_TRUE(Text::equalIgnoringCase(u"Ann", u"aNN"));
    EXPECT_TRUE(Text::equalIgnoringCase(u"ÉVA", u"éva"));
    EXPECT_TRUE(Text::equalIgnoringCase(u"", u""));
    EXPECT_FALSE(Text::equalIgnoringCase(u"Ann", u"Anna"));
    EXPECT_FALSE(Text::equalIgnoringCase(u"Eva", u"Éva"));
    EXPECT_FALSE(Text::equalIgnoringCase(u"Ann", u"Ann "));
}

TEST(Text, NamesAreEqualHoweverTheirAccentsAreComposed) {
    EXPECT_TRUE(Text::equalIgnoringCase(u"\u00C9va", u"e\u0301VA"));
}

} // namespace
