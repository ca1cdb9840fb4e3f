#include "copy/OnboardingCopy.h"

#include "copy/EnvironmentValue.h"
#include "copy/ExpectedTexts.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using copy::OnboardingCopy;
using copy::OnboardingLanguage;

namespace {

void expectTexts(const OnboardingCopy& copy, qsizetype column) {
    const auto wanted = expected::rows(u"OnboardingCopy.tsv"_s);
    const auto fields = copy.fields();
    ASSERT_EQ(fields.size(), static_cast<std::size_t>(wanted.size()));
    for (qsizetype index = 0; index < wanted.size(); ++index) {
        const auto& field = fields[static_cast<std::size_t>(index)];
        EXPECT_EQ(field.name, wanted[index][0]);
        EXPECT_EQ(field.text, wanted[index][column]) << field.name.toString().toStdString();
    }
}

TEST(OnboardingCopy, EveryChineseTextIsAsItWasAgreedAndInOrder) {
    expectTexts(OnboardingCopy::zh, 1);
}

TEST(OnboardingCopy, EveryEnglishTextIsAsItWasAgreedAndInOrder) {
    expectTexts(OnboardingCopy::en, 2);
}

TEST(OnboardingCopy, EachSetNamesItsLanguage) {
    EXPECT_EQ(OnboardingCopy::zh.language, OnboardingLanguage::zh);
    EXPECT_EQ(OnboardingCopy::en.language, OnboardingLanguage::en);
}

TEST(OnboardingCopy, IsChosenByLanguage) {
    EXPECT_EQ(&OnboardingCopy::of(OnboardingLanguage::zh), &OnboardingCopy::zh);
    EXPECT_EQ(&OnboardingCopy::of(OnboardingLanguage::en), &OnboardingCopy::en);
}

TEST(OnboardingCopy, TheCurrentSetIsThatOfTheInterface) {
    const EnvironmentValue home("TARVEX_HOME", "/somewhere");
    {
        const EnvironmentValue language("TARVEX_ONBOARDING_LANG", "zh");
        EXPECT_EQ(&OnboardingCopy::current(), &OnboardingCopy::zh);
    }
    const EnvironmentValue language("TARVEX_ONBOARDING_LANG", "en");
    EXPECT_EQ(&OnboardingCopy::current(), &OnboardingCopy::en);
}

TEST(OnboardingCopy, TheStepLabelCountsFourSteps) {
    EXPECT_EQ(OnboardingCopy::zh.stepLabel(1), u"第 1 步，共 4 步"_s);
    EXPECT_EQ(OnboardingCopy::en.stepLabel(4), u"Step 4 of 4"_s);
}

} // namespace
