#include "copy/OnboardingLanguage.h"

#include "copy/EnvironmentValue.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using copy::OnboardingLanguage;

namespace {

constexpr bool testMode = true;
constexpr bool ordinary = false;

TEST(OnboardingLanguage, OnlyTheFirstPreferredLanguageCounts) {
    EXPECT_EQ(OnboardingLanguage::pick({u"en-GB"_s, u"zh-Hant-TW"_s}, {}, ordinary), OnboardingLanguage::en);
    EXPECT_EQ(OnboardingLanguage::pick({u"zh-Hant-TW"_s, u"en-GB"_s}, {}, ordinary), OnboardingLanguage::zh);
    EXPECT_EQ(OnboardingLanguage::pick({u"zh-Hant-TW"_s}, {}, ordinary), OnboardingLanguage::zh);
    EXPECT_EQ(OnboardingLanguage::pick({u"fr-FR"_s}, {}, ordinary), OnboardingLanguage::en);
}

TEST(OnboardingLanguage, IsEnglishForAnEmptyList) {
    EXPECT_EQ(OnboardingLanguage::pick({}, {}, ordinary), OnboardingLanguage::en);
    EXPECT_EQ(OnboardingLanguage::pick({}, {}, testMode), OnboardingLanguage::en);
}

TEST(OnboardingLanguage, CaseOfTheTagDoesNotMatter) {
    EXPECT_EQ(OnboardingLanguage::pick({u"ZH-TW"_s}, {}, ordinary), OnboardingLanguage::zh);
}

TEST(OnboardingLanguage, TheOverrideWinsInTestMode) {
    EXPECT_EQ(OnboardingLanguage::pick({u"zh-TW"_s}, u"en"_s, testMode), OnboardingLanguage::en);
    EXPECT_EQ(OnboardingLanguage::pick({u"en-GB"_s}, u"zh"_s, testMode), OnboardingLanguage::zh);
    EXPECT_EQ(OnboardingLanguage::pick({}, u"zh"_s, testMode), OnboardingLanguage::zh);
}

TEST(OnboardingLanguage, TheOverrideHasNoEffectOutsideTestMode) {
    EXPECT_EQ(OnboardingLanguage::pick({u"zh-TW"_s}, u"en"_s, ordinary), OnboardingLanguage::zh);
    EXPECT_EQ(OnboardingLanguage::pick({u"en-GB"_s}, u"zh"_s, ordinary), OnboardingLanguage::en);
}

TEST(OnboardingLanguage, AnOverrideOfAnotherValueIsIgnored) {
    for (const auto& value : {u""_s, u"ZH"_s, u"zh "_s, u"zh-TW"_s, u"fr"_s}) {
        EXPECT_EQ(OnboardingLanguage::pick({u"en-GB"_s}, value, testMode), OnboardingLanguage::en);
    }
    EXPECT_EQ(OnboardingLanguage::pick({u"zh-TW"_s}, u"EN"_s, testMode), OnboardingLanguage::zh);
}

TEST(OnboardingLanguage, TheEnvironmentIsTheOverride) {
    const EnvironmentValue home("TARVEX_HOME", "/somewhere");
    for (const OnboardingLanguage language : {OnboardingLanguage::zh, OnboardingLanguage::en}) {
        const EnvironmentValue wanted("TARVEX_ONBOARDING_LANG", language == OnboardingLanguage::zh ? "zh" : "en");
        EXPECT_EQ(OnboardingLanguage::current(), language);
    }
}

TEST(OnboardingLanguage, TheEnvironmentHasNoEffectOutsideTestMode) {
    const EnvironmentValue home("TARVEX_HOME", std::nullopt);
    const EnvironmentValue unset("TARVEX_ONBOARDING_LANG", std::nullopt);
    const auto natural = OnboardingLanguage::current();
    const EnvironmentValue wanted("TARVEX_ONBOARDING_LANG", natural == OnboardingLanguage::zh ? "en" : "zh");
    EXPECT_EQ(OnboardingLanguage::current(), natural);
}

TEST(OnboardingLanguage, AForcedLanguageWinsOverTheEnvironment) {
    const EnvironmentValue home("TARVEX_HOME", "/somewhere");
    const EnvironmentValue wanted("TARVEX_ONBOARDING_LANG", "zh");
    OnboardingLanguage::setSelfTestForced(OnboardingLanguage::en);
    EXPECT_EQ(OnboardingLanguage::current(), OnboardingLanguage::en);
    OnboardingLanguage::setSelfTestForced(std::nullopt);
    EXPECT_EQ(OnboardingLanguage::current(), OnboardingLanguage::zh);
}

TEST(OnboardingLanguage, RawValuesAreTheirNames) {
    EXPECT_EQ(OnboardingLanguage(OnboardingLanguage::zh).rawValue(), u"zh"_s);
    EXPECT_EQ(OnboardingLanguage(OnboardingLanguage::en).rawValue(), u"en"_s);
}

} // namespace
