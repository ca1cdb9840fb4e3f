#include "ai/ReplyText.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using ai::AIPipeline::cleanText;
using ai::AIPipeline::noDashes;
using ai::AIPipeline::oneLine;

TEST(ReplyTextTest, ADashWithWhatIsAroundItBecomesAFullWidthComma) {
    EXPECT_EQ(noDashes(u"Ship — now"), u"Ship，now"_s);
    EXPECT_EQ(noDashes(u"a–b"), u"a，b"_s);
    EXPECT_EQ(noDashes(u"上線——延後"), u"上線，延後"_s);
    EXPECT_EQ(noDashes(u"a \t—–—\n b"), u"a，b"_s);
    EXPECT_EQ(noDashes(u"a\u3000—\u00a0b"), u"a，b"_s);
    EXPECT_EQ(noDashes(u"— a —"), u"，a，"_s);
}

TEST(ReplyTextTest, DashesWithBlanksBetweenAreOneCommaEach) {
    EXPECT_EQ(noDashes(u"a — — b"), u"a，，b"_s);
}

TEST(ReplyTextTest, HyphensAndMinusSignsStay) {
    EXPECT_EQ(noDashes(u"follow-up, 3 - 2, \u2212 4, \u2012 \u2015"), u"follow-up, 3 - 2, \u2212 4, \u2012 \u2015"_s);
}

TEST(ReplyTextTest, LinesBecomeOneWithABlankBetween) {
    EXPECT_EQ(oneLine(u"a\nb"), u"a b"_s);
    EXPECT_EQ(oneLine(u" a \t\r\n\n \t\n b "), u"a b"_s);
    EXPECT_EQ(oneLine(u"a\vb\fc\u0085d\u2028e\u2029f"), u"a b c d e f"_s);
    EXPECT_EQ(oneLine(u"a  b"), u"a  b"_s) << "blanks inside a line stay";
    EXPECT_EQ(oneLine(u"\n\n"), QString());
}

TEST(ReplyTextTest, ACleanTextHasNoEndsAndNoDashes) {
    EXPECT_EQ(cleanText(u" Ship —\n now "_s), u"Ship，now"_s);
}

TEST(ReplyTextTest, WhatIsNoStringOrEmptyIsAbsent) {
    for (const auto& value : {base::Json(), base::Json(true), base::Json::integer(5), base::Json(base::Json::Array{}),
                              base::Json(u""_s), base::Json(u" \n\u3000"_s)}) {
        EXPECT_EQ(cleanText(value), std::nullopt);
    }
}

TEST(ReplyTextTest, ADashAloneIsACommaAlone) {
    EXPECT_EQ(cleanText(u" — "_s), u"，"_s);
}

TEST(ReplyTextTest, MarkupLinksAndInvisibleMarksPassAsText) {
    const QString text = u"<b>x</b> https://a.example/?q=1&b=2 \u202eabc\u200f \u0007 \U0001F600"_s;
    EXPECT_EQ(cleanText(text), text);
}

TEST(ReplyTextTest, ANovelOfBlanksAndDashesIsCleanedInOneGo) {
    QString novel;
    for (int i = 0; i < 200'000; ++i) {
        novel += u"word     —     "_s;
    }
    EXPECT_EQ(cleanText(novel)->size(), 200'000 * 5);
}
