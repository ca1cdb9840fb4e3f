#include "copy/DesktopCopy.h"

#include "copy/EnvironmentValue.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace Qt::StringLiterals;
using copy::DesktopCopy;
using copy::OnboardingLanguage;

namespace {

TEST(DesktopCopy, BothLanguagesHaveEveryTextAndNoneInTheOthersWords) {
    const auto chinese = DesktopCopy::zh.fields();
    const auto english = DesktopCopy::en.fields();
    const auto isHan = [](QChar character) { return character.script() == QChar::Script_Han; };
    ASSERT_EQ(chinese.size(), english.size());
    for (std::size_t index = 0; index < chinese.size(); ++index) {
        EXPECT_EQ(chinese[index].name, english[index].name);
        EXPECT_TRUE(std::ranges::any_of(chinese[index].text, isHan)) << chinese[index].name.toString().toStdString();
        EXPECT_TRUE(std::ranges::none_of(english[index].text, isHan)) << english[index].name.toString().toStdString();
        EXPECT_FALSE(english[index].text.isEmpty());
    }
}

TEST(DesktopCopy, EachSetNamesItsLanguage) {
    EXPECT_EQ(DesktopCopy::zh.language, OnboardingLanguage::zh);
    EXPECT_EQ(DesktopCopy::en.language, OnboardingLanguage::en);
}

TEST(DesktopCopy, IsChosenByLanguage) {
    EXPECT_EQ(&DesktopCopy::of(OnboardingLanguage::zh), &DesktopCopy::zh);
    EXPECT_EQ(&DesktopCopy::of(OnboardingLanguage::en), &DesktopCopy::en);
}

TEST(DesktopCopy, TheCurrentSetIsThatOfTheInterface) {
    const EnvironmentValue home("TARVEX_HOME", "/somewhere");
    {
        const EnvironmentValue language("TARVEX_ONBOARDING_LANG", "zh");
        EXPECT_EQ(&DesktopCopy::current(), &DesktopCopy::zh);
    }
    const EnvironmentValue language("TARVEX_ONBOARDING_LANG", "en");
    EXPECT_EQ(&DesktopCopy::current(), &DesktopCopy::en);
}

} // namespace
