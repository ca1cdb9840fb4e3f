#include "base/Environment.h"

#include "fakes/ScopedVariable.h"
#include "fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
namespace Environment = base::Environment;

namespace {

class EnvironmentTest : public testing::Test {
protected:
    void TearDown() override {
        ::unsetenv("TARVEX_HOME");
        ::unsetenv("TARVEX_NUMBER");
    }

    static void set(const char* name, const char* value) { ::setenv(name, value, 1); }
};

TEST_F(EnvironmentTest, AnEmptyHomeIsTheSameAsNone) {
    ::unsetenv("TARVEX_HOME");
    EXPECT_FALSE(Environment::testMode());
    set("TARVEX_HOME", "");
    EXPECT_FALSE(Environment::testMode());
    set("TARVEX_HOME", "x");
    EXPECT_TRUE(Environment::testMode());
}

TEST_F(EnvironmentTest, APathKeepsItsBytesAndAnEmptyOneIsNone) {
    set("TARVEX_HOME", "/tmp/\xFF");
    EXPECT_EQ(Environment::path("TARVEX_HOME"), std::filesystem::path("/tmp/\xFF"));
    set("TARVEX_HOME", "");
    EXPECT_EQ(Environment::path("TARVEX_HOME"), std::nullopt);
    ::unsetenv("TARVEX_HOME");
    EXPECT_EQ(Environment::path("TARVEX_HOME"), std::nullopt);
}

TEST_F(EnvironmentTest, NumbersCountInTestModeOnly) {
    set("TARVEX_NUMBER", "2.5");
    EXPECT_EQ(Environment::testNumber("TARVEX_NUMBER", 7), 7);
    set("TARVEX_HOME", "x");
    EXPECT_EQ(Environment::testNumber("TARVEX_NUMBER", 7), 2.5);
}

TEST_F(EnvironmentTest, WhatIsNoNumberGivesTheNormalValue) {
    set("TARVEX_HOME", "x");
    EXPECT_EQ(Environment::testNumber("TARVEX_NUMBER", 7), 7);
    for (const char* text : {"", "two", "2 ", " 2", "2x", "inf", "nan"}) {
        set("TARVEX_NUMBER", text);
        EXPECT_EQ(Environment::testNumber("TARVEX_NUMBER", 7), 7) << text;
    }
}

TEST_F(EnvironmentTest, TheDecimalPointIsAPointInEveryLocale) {
    const fakes::TemporaryFolder folder;
    const std::string made = (folder / "de_DE.UTF-8").string();
    const fakes::ScopedVariable locales("LOCPATH", folder.path.string());
    const std::string make = "localedef -i de_DE -f UTF-8 '" + made + "' >/dev/null 2>&1";
    if (std::system(make.c_str()) != 0 || std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
        GTEST_SKIP() << "this system can make no locale with a decimal comma";
    }
    const auto point = Environment::parseWholeDouble(u"2.5"_s);
    const auto comma = Environment::parseWholeDouble(u"2,5"_s);
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(point, 2.5);
    EXPECT_EQ(comma, std::nullopt);
}

TEST_F(EnvironmentTest, TheHomeFolderIsThatOfTheAccountWhereTheVariableSaysNothing) {
    fakes::ScopedVariable home("HOME", "/home/of \xFF");
    EXPECT_EQ(Environment::homeFolder(), std::filesystem::path("/home/of \xFF"));
    const std::filesystem::path account = ::getpwuid(::getuid())->pw_dir;
    for (const auto& nothing :
         {std::optional<std::string>(), std::optional<std::string>(""), std::optional<std::string>("relative/home")}) {
        home.set(nothing);
        EXPECT_EQ(Environment::homeFolder(), account) << nothing.value_or("unset");
    }
}

TEST_F(EnvironmentTest, AFlagIsExactlyOneAndCountsInTestModeOnly) {
    set("TARVEX_NUMBER", "1");
    EXPECT_FALSE(Environment::testFlag("TARVEX_NUMBER"));
    set("TARVEX_HOME", "x");
    EXPECT_TRUE(Environment::testFlag("TARVEX_NUMBER"));
    set("TARVEX_NUMBER", "true");
    EXPECT_FALSE(Environment::testFlag("TARVEX_NUMBER"));
}

TEST_F(EnvironmentTest, ATextCountsInTestModeOnlyAndNotWhenEmpty) {
    set("TARVEX_NUMBER", "zh");
    EXPECT_EQ(Environment::testText("TARVEX_NUMBER"), std::nullopt);
    set("TARVEX_HOME", "x");
    EXPECT_EQ(Environment::testText("TARVEX_NUMBER"), u"zh"_s);
    set("TARVEX_NUMBER", "");
    EXPECT_EQ(Environment::testText("TARVEX_NUMBER"), std::nullopt);
}

} // namespace
