#include "copy/UserName.h"

#include "copy/EnvironmentValue.h"
#include "copy/System.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
namespace UserName = copy::UserName;

namespace {

TEST(UserName, IsTheFirstWordOfTheFullName) {
    EXPECT_EQ(UserName::first(u"Mara Lindqvist Holm"), u"Mara"_s);
    EXPECT_EQ(UserName::first(u"Mara"), u"Mara"_s);
    EXPECT_EQ(UserName::first(u"王小明"), u"王小明"_s);
}

TEST(UserName, AnyWhiteSpaceSeparates) {
    EXPECT_EQ(UserName::first(u"  \t Mara\tHolm"), u"Mara"_s);
    EXPECT_EQ(UserName::first(u"\nMara\nHolm"), u"Mara"_s);
    EXPECT_EQ(UserName::first(u"王\u3000小明"), u"王"_s);
    EXPECT_EQ(UserName::first(u"Mara\u00A0Holm"), u"Mara"_s);
}

TEST(UserName, PunctuationDoesNotSeparate) {
    EXPECT_EQ(UserName::first(u"Anna-Maria, Dr."), u"Anna-Maria,"_s);
}

TEST(UserName, AnEmptyFullNameGivesTheFallback) {
    EXPECT_EQ(UserName::first(u""), UserName::fallback);
    EXPECT_EQ(UserName::first(u" \t\n"), UserName::fallback);
    EXPECT_EQ(UserName::fallback, u"使用者"_s);
}

TEST(UserName, TheCurrentOneComesFromTheAccount) {
    EXPECT_EQ(UserName::current(), UserName::first(copy::System::fullUserName()));
}

TEST(UserName, AForcedNameWinsInASelfTestRun) {
    const EnvironmentValue home("TARVEX_HOME", "/somewhere");
    UserName::setSelfTestForced(u"Mara Holm"_s);
    EXPECT_EQ(UserName::current(), u"Mara Holm"_s);
    UserName::setSelfTestForced(std::nullopt);
    EXPECT_EQ(UserName::current(), UserName::first(copy::System::fullUserName()));
}

TEST(UserName, NoNameCanBeForcedOutsideASelfTestRun) {
    const EnvironmentValue home("TARVEX_HOME", std::nullopt);
    UserName::setSelfTestForced(u"Mara"_s);
    EXPECT_EQ(UserName::selfTestForced(), std::nullopt);
}

} // namespace
