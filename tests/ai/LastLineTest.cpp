#include "ai/LastLine.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using ai::AIPipeline::lastLine;

TEST(LastLineTest, IsTheLastLineThatHoldsMoreThanBlanks) {
    EXPECT_EQ(lastLine("first\nsecond\n\n \t \n"), u"second"_s);
    EXPECT_EQ(lastLine("only"), u"only"_s);
    EXPECT_EQ(lastLine("\nfirst"), u"first"_s);
}

TEST(LastLineTest, BlanksAndTabsAtItsEndsAreDropped) {
    EXPECT_EQ(lastLine("\t  two words \t\n"), u"two words"_s);
}

TEST(LastLineTest, ACarriageReturnEndsALineToo) {
    EXPECT_EQ(lastLine("10%\r50%\r100%\r"), u"100%"_s);
    EXPECT_EQ(lastLine("a\r\nb\r\n"), u"b"_s);
}

TEST(LastLineTest, OfNothingOrBlanksIsNothing) {
    EXPECT_EQ(lastLine(""), QString());
    EXPECT_EQ(lastLine("\n\n"), QString());
    EXPECT_EQ(lastLine(" \t\r\n "), QString());
}

TEST(LastLineTest, OneHundredAndSixtyCharactersStayWholeOneMoreIsCut) {
    const QByteArray whole(160, 'x');
    EXPECT_EQ(lastLine(whole), QString::fromLatin1(whole));
    EXPECT_EQ(lastLine(QByteArray(whole + 'y')), QString::fromLatin1(whole) + u"…");
    EXPECT_EQ(lastLine(QByteArray(200, 'x')), QString::fromLatin1(whole) + u"…");
}

TEST(LastLineTest, CharactersAreWhatAPersonCounts) {
    const QByteArray family = "👨‍👩‍👧"; // eight UTF-16 units, one character
    EXPECT_EQ(lastLine(family.repeated(160)), QString::fromUtf8(family.repeated(160)));
    EXPECT_EQ(lastLine(family.repeated(161)), QString::fromUtf8(family.repeated(160)) + u"…");
}

TEST(LastLineTest, BytesThatAreNoUtf8BecomeReplacementCharacters) {
    EXPECT_EQ(lastLine("bad \xff byte"), u"bad \uFFFD byte"_s);
    EXPECT_TRUE(lastLine("cut \xe4\xbd\n").startsWith(u"cut \uFFFD"_s));
}

TEST(LastLineTest, AFloodWithoutALineEndIsCutLikeAnyLine) {
    const QString start = lastLine(QByteArray(" " + QByteArray(50 * 1024 * 1024, 'x')));
    EXPECT_EQ(start, QString(160, u'x') + u"…");
}
