#include "copy/AILanguage.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using copy::AILanguage;

namespace {

TEST(AILanguage, IsChineseWhenAnyPreferredLanguageIs) {
    EXPECT_EQ(AILanguage::pick({u"en-GB"_s, u"zh-Hant-TW"_s}), AILanguage::zh);
    EXPECT_EQ(AILanguage::pick({u"fr-FR"_s, u"en-GB"_s, u"zh"_s}), AILanguage::zh);
    EXPECT_EQ(AILanguage::pick({u"zh-Hant-TW"_s}), AILanguage::zh);
}

TEST(AILanguage, IsEnglishWhenNoPreferredLanguageIsChinese) {
    EXPECT_EQ(AILanguage::pick({u"en-GB"_s, u"fr-FR"_s}), AILanguage::en);
    EXPECT_EQ(AILanguage::pick({u"en-zh"_s}), AILanguage::en);
    EXPECT_EQ(AILanguage::pick({u"z"_s}), AILanguage::en);
}

TEST(AILanguage, IsEnglishForAnEmptyList) {
    EXPECT_EQ(AILanguage::pick({}), AILanguage::en);
}

TEST(AILanguage, CaseOfTheTagDoesNotMatter) {
    EXPECT_EQ(AILanguage::pick({u"ZH_tw"_s}), AILanguage::zh);
}

TEST(AILanguage, AForcedLanguageWins) {
    for (const AILanguage language : {AILanguage::zh, AILanguage::en}) {
        AILanguage::setSelfTestForced(language);
        EXPECT_EQ(AILanguage::current(), language);
        EXPECT_EQ(AILanguage::selfTestForced(), language);
    }
    AILanguage::setSelfTestForced(std::nullopt);
    EXPECT_EQ(AILanguage::selfTestForced(), std::nullopt);
}

TEST(AILanguage, RawValuesAreTheirNames) {
    EXPECT_EQ(AILanguage(AILanguage::zh).rawValue(), u"zh"_s);
    EXPECT_EQ(AILanguage(AILanguage::en).rawValue(), u"en"_s);
}

} // namespace
