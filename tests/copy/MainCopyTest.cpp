#include "copy/MainCopy.h"

#include "copy/EnvironmentValue.h"
#include "copy/ExpectedTexts.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using copy::MainCopy;
using copy::OnboardingLanguage;

namespace {

void expectTexts(const MainCopy& copy, qsizetype column) {
    const auto wanted = expected::rows(u"MainCopy.tsv"_s);
    const auto fields = copy.fields();
    ASSERT_EQ(fields.size(), static_cast<std::size_t>(wanted.size()));
    for (qsizetype index = 0; index < wanted.size(); ++index) {
        const auto& field = fields[static_cast<std::size_t>(index)];
        EXPECT_EQ(field.name, wanted[index][0]);
        EXPECT_EQ(field.text, wanted[index][column]) << field.name.toString().toStdString();
    }
}

TEST(MainCopy, EveryChineseTextIsAsItWasAgreedAndInOrder) {
    expectTexts(MainCopy::zh, 1);
}

TEST(MainCopy, EveryEnglishTextIsAsItWasAgreedAndInOrder) {
    expectTexts(MainCopy::en, 2);
}

TEST(MainCopy, EachSetNamesItsLanguage) {
    EXPECT_EQ(MainCopy::zh.language, OnboardingLanguage::zh);
    EXPECT_EQ(MainCopy::en.language, OnboardingLanguage::en);
}

TEST(MainCopy, IsChosenByLanguage) {
    EXPECT_EQ(&MainCopy::of(OnboardingLanguage::zh), &MainCopy::zh);
    EXPECT_EQ(&MainCopy::of(OnboardingLanguage::en), &MainCopy::en);
}

TEST(MainCopy, TheCurrentSetIsThatOfTheInterface) {
    const EnvironmentValue home("TARVEX_HOME", "/somewhere");
    {
        const EnvironmentValue language("TARVEX_ONBOARDING_LANG", "zh");
        EXPECT_EQ(&MainCopy::current(), &MainCopy::zh);
    }
    const EnvironmentValue language("TARVEX_ONBOARDING_LANG", "en");
    EXPECT_EQ(&MainCopy::current(), &MainCopy::en);
}

} // namespace
