#include "copy/Prompts.h"

#include "copy/CopyField.h"
#include "copy/EnvironmentValue.h"
#include "copy/ExpectedTexts.h"

#include <gtest/gtest.h>

#include <vector>

using namespace Qt::StringLiterals;
using copy::AILanguage;
namespace Strings = copy::Strings;

namespace {

TEST(Prompts, RulesForASummaryAreAsTheyWereAgreed) {
    EXPECT_EQ(Strings::aiPromptRules(u"Mara"_s, AILanguage::zh), expected::text(u"aiPromptRules.zh.txt"_s));
    EXPECT_EQ(Strings::aiPromptRules(u"Mara"_s, AILanguage::en), expected::text(u"aiPromptRules.en.txt"_s));
}

TEST(Prompts, RulesForPracticeAdviceAreAsTheyWereAgreed) {
    EXPECT_EQ(Strings::coachPromptRules(u"Mara"_s, AILanguage::zh), expected::text(u"coachPromptRules.zh.txt"_s));
    EXPECT_EQ(Strings::coachPromptRules(u"Mara"_s, AILanguage::en), expected::text(u"coachPromptRules.en.txt"_s));
}

TEST(Prompts, RulesAddressTheUserInTheLanguageOfTheAnswersUnlessToldOtherwise) {
    const EnvironmentValue home("TARVEX_HOME", "/somewhere");
    copy::UserName::setSelfTestForced(u"Mara"_s);
    AILanguage::setSelfTestForced(AILanguage::en);
    EXPECT_EQ(Strings::aiPromptRules(), expected::text(u"aiPromptRules.en.txt"_s));
    EXPECT_EQ(Strings::coachPromptRules(), expected::text(u"coachPromptRules.en.txt"_s));
    AILanguage::setSelfTestForced(std::nullopt);
    copy::UserName::setSelfTestForced(std::nullopt);
}

TEST(Prompts, ANameThatLooksLikeAPlaceStaysAName) {
    const auto rules = Strings::coachPromptRules(u"%@"_s, AILanguage::en);
    EXPECT_EQ(rules, expected::text(u"coachPromptRules.en.txt"_s).replace(u"Mara"_s, u"%@"_s));
}

TEST(Prompts, LinesOfNumbersAreAsTheyWereAgreed) {
    const auto wanted = expected::rows(u"Prompts.tsv"_s);
#define TEXT(name) {u"" #name, Strings::name}
    const std::vector<copy::CopyField> texts{
        TEXT(coachPromptSpoken),        TEXT(coachPromptRate),          TEXT(coachPromptPauses),
        TEXT(coachPromptNoPauses),      TEXT(coachPromptFillers),       TEXT(coachPromptPrevious),
        TEXT(coachPromptNoPrevious),    TEXT(coachPromptPitch),         TEXT(coachPromptPitchNotEnough),
        TEXT(coachPromptPitchMissing),  TEXT(coachPromptPitchFlattest), TEXT(coachPromptPitchFlattestNoSentence),
        TEXT(coachPromptPitchPrevious),
    };
#undef TEXT
    ASSERT_EQ(texts.size(), static_cast<std::size_t>(wanted.size()));
    for (qsizetype index = 0; index < wanted.size(); ++index) {
        const auto& text = texts[static_cast<std::size_t>(index)];
        EXPECT_EQ((QStringList{text.name, text.text}), wanted[index]) << text.name.toString().toStdString();
    }
}

TEST(Prompts, LabelsStayChinese) {
    EXPECT_EQ(Strings::aiPromptTitle, u"會議標題："_s);
    EXPECT_EQ(Strings::aiPromptType, u"類型："_s);
    EXPECT_EQ(Strings::aiPromptPeople, u"在場的人："_s);
    EXPECT_EQ(Strings::aiPromptTranscript, u"逐字稿："_s);
    EXPECT_EQ(Strings::aiPromptNotes, u"使用者的補充："_s);
    EXPECT_EQ(Strings::aiPromptNone, u"沒有"_s);
    EXPECT_EQ(Strings::coachPromptTitle, u"練習標題："_s);
    EXPECT_EQ(Strings::coachPromptNumbers, u"數字（Brieflet 算好的，以這裡為準）："_s);
    EXPECT_EQ(Strings::coachPromptTranscript, u"逐字稿："_s);
    EXPECT_EQ(Strings::coachPromptNotes, u"使用者的重點或大綱："_s);
    EXPECT_EQ(Strings::coachPromptNone, u"沒有"_s);
}

} // namespace
