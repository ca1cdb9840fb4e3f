#include "entry/CommandLine.h"

#include "fakes/QtPrinters.h"

#include <gtest/gtest.h>

namespace entry {
namespace {

using namespace Qt::StringLiterals;

const QString refusalTail =
    u" needs TARVEX_HOME (a test folder), so it will not touch the real data. Nothing was started.\n"_s;

TEST(CommandLineTest, NothingOnItMeansAnOrdinaryStart) {
    const auto line = CommandLine::parse({});
    EXPECT_EQ(line, CommandLine());
    EXPECT_EQ(line.autoTestSeconds, std::nullopt);
    EXPECT_EQ(line.windowTest, std::nullopt);
    EXPECT_FALSE(line.autoTestPractice);
    EXPECT_TRUE(line.autoTestKeep);
}

TEST(CommandLineTest, TheAutoTestTakesTheNextArgumentAsItsSeconds) {
    EXPECT_EQ(CommandLine::parse({u"--auto-test"_s, u"7.5"_s}).autoTestSeconds, 7.5);
    EXPECT_EQ(CommandLine::parse({u"--practice"_s, u"--auto-test"_s, u"3"_s, u"x"_s}).autoTestSeconds, 3.0);
}

TEST(CommandLineTest, TheAutoTestAsTheLastArgumentRunsTwentySeconds) {
    EXPECT_EQ(CommandLine::parse({u"--auto-test"_s}).autoTestSeconds, 20.0);
}

TEST(CommandLineTest, TheAutoTestFollowedByNoNumberRunsTwentySeconds) {
    for (const auto& text : {u"soon"_s, u"5 "_s, u"5s"_s, u""_s, u"--practice"_s}) {
        EXPECT_EQ(CommandLine::parse({u"--auto-test"_s, text}).autoTestSeconds, 20.0) << text.toStdString();
    }
}

TEST(CommandLineTest, TheWindowTestSplitsItsWordsWithoutEmptyPieces) {
    const QSet<QString> words = {u"page"_s, u"find=a b"_s};
    EXPECT_EQ(CommandLine::parse({u"--window-test"_s, u",page,,find=a b,page,"_s}).windowTest, words);
}

TEST(CommandLineTest, TheWindowTestWithoutAValueIsTheEmptySet) {
    EXPECT_EQ(CommandLine::parse({u"--window-test"_s}).windowTest, QSet<QString>());
    EXPECT_EQ(CommandLine::parse({u"--window-test"_s, u""_s}).windowTest, QSet<QString>());
}

TEST(CommandLineTest, TheWindowTestTakesNoFlagAsItsValueAndTheFlagStillCounts) {
    const auto line = CommandLine::parse({u"--window-test"_s, u"--practice"_s});
    EXPECT_EQ(line.windowTest, QSet<QString>());
    EXPECT_TRUE(line.autoTestPractice);
}

TEST(CommandLineTest, TheWindowTestTakesAWordWithOneDash) {
    EXPECT_EQ(CommandLine::parse({u"--window-test"_s, u"-x"_s}).windowTest, QSet<QString>{u"-x"_s});
}

TEST(CommandLineTest, PracticeAndDiscardCountAnywhere) {
    const auto line = CommandLine::parse({u"--discard"_s, u"--auto-test"_s, u"--practice"_s});
    EXPECT_TRUE(line.autoTestPractice);
    EXPECT_FALSE(line.autoTestKeep);
}

TEST(CommandLineTest, SelfTestsOutsideTestModeAreRefusedByTheirName) {
    EXPECT_EQ(CommandLine::refusal({u"--auto-test"_s, u"5"_s}, false), u"--auto-test"_s + refusalTail);
    EXPECT_EQ(CommandLine::refusal({u"x"_s, u"--window-test"_s}, false), u"--window-test"_s + refusalTail);
    EXPECT_EQ(CommandLine::refusal({u"--window-test"_s, u"--auto-test"_s}, false), u"--auto-test"_s + refusalTail);
    EXPECT_EQ(CommandLine::refused, 2);
}

TEST(CommandLineTest, SelfTestsInTestModeAndOrdinaryStartsAreNotRefused) {
    EXPECT_EQ(CommandLine::refusal({u"--auto-test"_s, u"--window-test"_s}, true), std::nullopt);
    EXPECT_EQ(CommandLine::refusal({u"--practice"_s, u"--discard"_s}, false), std::nullopt);
}

} // namespace
} // namespace entry
