#include "copy/System.h"

#include "copy/AILanguage.h"
#include "copy/OnboardingLanguage.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace Qt::StringLiterals;
namespace System = copy::System;

namespace {

struct LanguageCase {
    const char* lang;
    const char* language; ///< LANGUAGE, "" for none
    copy::OnboardingLanguage interface;
    copy::AILanguage answers;
};

class SystemLanguages : public testing::TestWithParam<LanguageCase> {};

// The languages are fixed at the start of a program, so that each case needs a program of its own.
TEST_P(SystemLanguages, DecideBothLanguages) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto& wanted = GetParam();
    const auto agree = [&wanted] {
        for (const char* name : {"LC_ALL", "LC_MESSAGES", "TARVEX_HOME"}) {
            qunsetenv(name);
        }
        qputenv("LANG", wanted.lang);
        qputenv("LANGUAGE", wanted.language);
        std::exit(copy::OnboardingLanguage::current() == wanted.interface &&
                          copy::AILanguage::current() == wanted.answers
                      ? EXIT_SUCCESS
                      : EXIT_FAILURE);
    };
    EXPECT_EXIT(agree(), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

INSTANTIATE_TEST_SUITE_P(
    Locales, SystemLanguages,
    testing::Values(LanguageCase{"en_GB.UTF-8", "", copy::OnboardingLanguage::en, copy::AILanguage::en},
                    LanguageCase{"zh_TW.UTF-8", "", copy::OnboardingLanguage::zh, copy::AILanguage::zh},
                    LanguageCase{"en_GB.UTF-8", "en_GB:zh_TW", copy::OnboardingLanguage::en, copy::AILanguage::zh},
                    LanguageCase{"en_GB.UTF-8", "zh_TW:en_GB", copy::OnboardingLanguage::zh, copy::AILanguage::zh},
                    LanguageCase{"C", "", copy::OnboardingLanguage::en, copy::AILanguage::en}));

TEST(SystemFullName, IsWhatStandsBeforeTheFirstComma) {
    EXPECT_EQ(System::fullNameFromComment(u"Mara Holm,Room 7,555-1234"_s, u"mara"_s), u"Mara Holm"_s);
    EXPECT_EQ(System::fullNameFromComment(u"Mara Holm"_s, u"mara"_s), u"Mara Holm"_s);
    EXPECT_EQ(System::fullNameFromComment(u",,,"_s, u"mara"_s), QString());
    EXPECT_EQ(System::fullNameFromComment(QString(), u"mara"_s), QString());
}

TEST(SystemFullName, AnAmpersandStandsForTheLoginName) {
    EXPECT_EQ(System::fullNameFromComment(u"& Holm"_s, u"mara"_s), u"Mara Holm"_s);
    EXPECT_EQ(System::fullNameFromComment(u"&"_s, QString()), QString());
}

} // namespace
