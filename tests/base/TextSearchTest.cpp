#include "base/TextSearch.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace base;

namespace {

std::optional<QString> found(QStringView text, QStringView word) {
    const auto range = TextSearch::find(text, word);
    return range ? std::optional(text.sliced(range->location, range->length).toString()) : std::nullopt;
}

TEST(TextSearchTest, CaseMakesNoDifference) {
    EXPECT_EQ(found(u"the Weekly sync", u"weekly"), u"Weekly"_s);
    EXPECT_EQ(found(u"the weekly sync", u"WEEKLY"), u"weekly"_s);
    EXPECT_EQ(found(u"ΣΊΣΥΦΟΣ", u"σίσυφος"), u"ΣΊΣΥΦΟΣ"_s);
}

TEST(TextSearchTest, AccentsMakeNoDifferenceOnEitherSide) {
    EXPECT_EQ(found(u"mon résumé", u"resume"), u"résumé"_s);
    EXPECT_EQ(found(u"my resume", u"résumé"), u"resume"_s);
    EXPECT_EQ(found(u"mon re\u0301sume\u0301.", u"résumé"), u"re\u0301sume\u0301"_s);
    EXPECT_EQ(found(u"Việt Nam", u"viet"), u"Việt"_s);
}

TEST(TextSearchTest, ScriptsWithoutCaseAreFoundAsTheyStand) {
    EXPECT_EQ(found(u"下週一開會議", u"會議"), u"會議"_s);
    EXPECT_EQ(found(u"𠀀𠀁𠀂", u"𠀁"), u"𠀁"_s);
    EXPECT_EQ(found(u"각", u"가"), std::nullopt);
}

TEST(TextSearchTest, TheFirstOfSeveralCounts) {
    EXPECT_EQ(TextSearch::find(u"a é e", u"e"), (TextSearch::Range{2, 1}));
}

TEST(TextSearchTest, WhatIsNotThereIsNotFound) {
    EXPECT_EQ(found(u"abc", u"abd"), std::nullopt);
    EXPECT_EQ(found(u"", u"a"), std::nullopt);
    EXPECT_EQ(found(u"abc", u""), std::nullopt);
    EXPECT_EQ(found(u"abc", u"\u0301"), std::nullopt);
    EXPECT_FALSE(TextSearch::contains(u"abc", u""));
}

TEST(TextSearchTest, ContainsSaysTheSameAsFind) {
    for (const QString& text : {u"mon Résumé"_s, u"die Straße"_s, u"下週一開會議"_s, u"ABC"_s, u"a\u0301\u0302b"_s}) {
        for (const QString& word : {u"resume"_s, u"STRAßE"_s, u"會議"_s, u"bc"_s, u"ab"_s, u"x"_s}) {
            EXPECT_EQ(TextSearch::contains(text, word), TextSearch::find(text, word).has_value())
                << text.toStdString() << word.toStdString();
        }
    }
}

TEST(TextSearchTest, HalfASurrogatePairIsNoCrash) {
    const QString half = u"a"_s + QChar(0xD83D) + u"é"_s;
    EXPECT_TRUE(TextSearch::contains(half, u"e"));
    EXPECT_TRUE(TextSearch::find(half, u"e"));
}

} // namespace
