#include "store/RecordingLock.h"

#include "fakes/ScopedVariable.h"
#include "fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace store;
namespace fs = std::filesystem;

namespace {

bool always(RecordingLock::ProcessID /*process*/) {
    return true;
}

bool never(RecordingLock::ProcessID /*process*/) {
    return false;
}

/// An id that was a process a moment ago.
RecordingLock::ProcessID deadProcess() {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(0);
    }
    ::waitpid(child, nullptr, 0);
    return child;
}

class RecordingLockTest : public testing::Test {
protected:
    fakes::TemporaryFolder folder;
    fakes::ScopedVariable home{"TARVEX_HOME", folder.path.string()};
    const fs::path lock = folder / "recording.lock";

    void write(const QByteArray& text) const { ASSERT_TRUE(base::replaceFile(lock, text)); }
};

TEST(RecordingLockTextTest, TheProcessIsTheFirstLine) {
    EXPECT_EQ(RecordingLock::parse(u"1234\n/tmp/a\n"), 1234);
    EXPECT_EQ(RecordingLock::parse(u"1234"), 1234);
    EXPECT_EQ(RecordingLock::parse(u" 77 "), 77);
    EXPECT_EQ(RecordingLock::parse(u"\t77\r\n/tmp/a"), 77);
    EXPECT_EQ(RecordingLock::parse(u"+77"), 77);
    EXPECT_EQ(RecordingLock::parse(u"-77"), -77);
    EXPECT_EQ(RecordingLock::parse(u"0077"), 77);
}

TEST(RecordingLockTextTest, WhatIsNoNumberIsNoProcess) {
    for (const QString& text :
         {u""_s, u"abc"_s, u"12a"_s, u"1 2"_s, u"+-7"_s, u"-+7"_s, u"+"_s, u"-"_s, u"0x10"_s, u"1.0"_s, u"１２"_s,
          u"\n1234"_s, u" \n1234"_s, u"99999999999"_s, u"2147483648"_s, u"-2147483649"_s}) {
        EXPECT_EQ(RecordingLock::parse(text), std::nullopt) << text.toStdString();
    }
    EXPECT_EQ(RecordingLock::parse(u"2147483647"), 2147483647);
    EXPECT_EQ(RecordingLock::parse(u"-2147483648"), -2147483647 - 1);
}

TEST(RecordingLockTextTest, TheFolderIsTheSecondLine) {
    EXPECT_EQ(RecordingLock::folderPath(u"1234\n/tmp/a\n"), u"/tmp/a"_s);
    EXPECT_EQ(RecordingLock::folderPath(u"1234\n/tmp/a"), u"/tmp/a"_s);
    EXPECT_EQ(RecordingLock::folderPath(u"1234\n /tmp/a b \r\nmore"), u"/tmp/a b"_s);
    EXPECT_EQ(RecordingLock::folderPath(u"1234"), std::nullopt);
    EXPECT_EQ(RecordingLock::folderPath(u"1234\n"), std::nullopt);
    EXPECT_EQ(RecordingLock::folderPath(u"1234\n \n/tmp/a"), std::nullopt);
    EXPECT_EQ(RecordingLock::folderPath(u""), std::nullopt);
}

TEST(RecordingLockRuleTest, AFolderIsLiveWhenALiveProcessNamesIt) {
    EXPECT_TRUE(RecordingLock::isLive("/a/c", u"1\n/a/c\n"_s, always));
    EXPECT_FALSE(RecordingLock::isLive("/a/c", u"1\n/a/c\n"_s, never));
    EXPECT_FALSE(RecordingLock::isLive("/a/d", u"1\n/a/c\n"_s, always));
    EXPECT_FALSE(RecordingLock::isLive("/a/c", std::nullopt, always));
    EXPECT_FALSE(RecordingLock::isLive("/a/c", u"x\n/a/c\n"_s, always));
    EXPECT_FALSE(RecordingLock::isLive("/a/c", u"1\n"_s, always));
}

TEST(RecordingLockRuleTest, TheProcessOfTheLockIsAskedAfter) {
    RecordingLock::ProcessID asked = 0;
    const auto remember = [&asked](RecordingLock::ProcessID process) {
        asked = process;
        return true;
    };
    EXPECT_TRUE(RecordingLock::isLive("/a", u"42\n/a\n"_s, remember));
    EXPECT_EQ(asked, 42);
    EXPECT_TRUE(RecordingLock::heldByOther(u"43\n"_s, 1, remember));
    EXPECT_EQ(asked, 43);
}

TEST(RecordingLockRuleTest, OneFolderIsTheSameHoweverItsPathIsWritten) {
    EXPECT_TRUE(RecordingLock::isLive("/a/c", u"1\n/a/b/../c\n"_s, always));
    EXPECT_TRUE(RecordingLock::isLive("/a/b/../c", u"1\n/a/c\n"_s, always));
    EXPECT_TRUE(RecordingLock::isLive("/a/c/", u"1\n/a/c\n"_s, always));
    EXPECT_TRUE(RecordingLock::isLive("/a/c", u"1\n/a//c/\n"_s, always));
    EXPECT_FALSE(RecordingLock::isLive("/a/C", u"1\n/a/c\n"_s, always));
}

TEST(RecordingLockRuleTest, OnlyALiveProcessOtherThanOursHoldsTheLockElsewhere) {
    EXPECT_TRUE(RecordingLock::heldByOther(u"2\n/a\n"_s, 1, always));
    EXPECT_FALSE(RecordingLock::heldByOther(u"1\n/a\n"_s, 1, always));
    EXPECT_FALSE(RecordingLock::heldByOther(u"2\n/a\n"_s, 1, never));
    EXPECT_FALSE(RecordingLock::heldByOther(u"x\n/a\n"_s, 1, always));
    EXPECT_FALSE(RecordingLock::heldByOther(std::nullopt, 1, always));
}

TEST(RecordingLockRuleTest, AProcessIsAliveUntilItHasEnded) {
    EXPECT_TRUE(RecordingLock::processAlive(::getpid()));
    EXPECT_TRUE(RecordingLock::processAlive(1)); // another user's process counts
    EXPECT_FALSE(RecordingLock::processAlive(deadProcess()));
}

TEST(RecordingLockRuleTest, IdsThatMeanGroupsAreNoProcesses) {
    EXPECT_FALSE(RecordingLock::processAlive(0));
    EXPECT_FALSE(RecordingLock::processAlive(-1));
    EXPECT_FALSE(RecordingLock::processAlive(-::getpgrp()));
}

TEST_F(RecordingLockTest, TheLockStandsUnderTheRoot) {
    EXPECT_EQ(RecordingLock::url(), lock);
}

TEST_F(RecordingLockTest, TheLockHasTwoLines) {
    ASSERT_TRUE(RecordingLock::write(folder / "Meetings/x/../2025_03_07_0930"));
    const QByteArray path = base::pathText(folder / "Meetings/2025_03_07_0930").toUtf8();
    EXPECT_EQ(base::readFile(lock), QByteArray(QByteArray::number(::getpid()) + '\n' + path + '\n'));
    struct stat status{};
    ASSERT_EQ(::stat(lock.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(RecordingLockTest, WithoutAFolderTheLockHasOneLine) {
    ASSERT_TRUE(RecordingLock::write(std::nullopt, 77, folder / "other"));
    EXPECT_EQ(base::readFile(folder / "other"), QByteArray("77\n"));
}

TEST_F(RecordingLockTest, ALockThatCannotBeWrittenSaysWhy) {
    const auto written = RecordingLock::write(std::nullopt, 77, folder / "no/lock");
    ASSERT_FALSE(written);
    EXPECT_FALSE(written.error().text.isEmpty());
}

TEST_F(RecordingLockTest, OurOwnLockMakesItsFolderLive) {
    ASSERT_TRUE(RecordingLock::write(folder / "a"));
    EXPECT_TRUE(RecordingLock::isLive(folder / "a"));
    EXPECT_FALSE(RecordingLock::isLive(folder / "b"));
    EXPECT_FALSE(RecordingLock::recordingElsewhere());
}

TEST_F(RecordingLockTest, AFolderOfAnyBytesIsProtected) {
    ASSERT_TRUE(RecordingLock::write(folder / "\xFF\xFE"));
    EXPECT_TRUE(RecordingLock::isLive(folder / "\xFF\xFE"));
}

TEST_F(RecordingLockTest, AnotherLiveProcessRecordsElsewhere) {
    ASSERT_TRUE(RecordingLock::write(folder / "a", ::getppid()));
    EXPECT_TRUE(RecordingLock::recordingElsewhere());
    EXPECT_TRUE(RecordingLock::isLive(folder / "a"));
}

TEST_F(RecordingLockTest, WithoutALockNothingIsLive) {
    EXPECT_FALSE(RecordingLock::isLive(folder / "a"));
    EXPECT_FALSE(RecordingLock::recordingElsewhere());
}

TEST_F(RecordingLockTest, OnlyTheOwnLockIsRemoved) {
    write("77\n/a\n");
    RecordingLock::remove(78, lock);
    EXPECT_TRUE(fs::exists(lock));
    RecordingLock::remove(77, lock);
    EXPECT_FALSE(fs::exists(lock));
    RecordingLock::remove(77, lock);
}

TEST_F(RecordingLockTest, ByDefaultThisProcessRemovesItsOwn) {
    ASSERT_TRUE(RecordingLock::write(folder / "a"));
    RecordingLock::remove();
    EXPECT_FALSE(fs::exists(lock));
    write("77\n");
    RecordingLock::remove();
    EXPECT_TRUE(fs::exists(lock));
}

TEST_F(RecordingLockTest, AtLaunchThisProcessesOwnLockGoes) {
    ASSERT_TRUE(RecordingLock::write(folder / "a"));
    RecordingLock::clearStale();
    EXPECT_FALSE(fs::exists(lock));
}

TEST_F(RecordingLockTest, AtLaunchTheLockOfADeadProcessGoes) {
    ASSERT_TRUE(RecordingLock::write(folder / "a", deadProcess()));
    RecordingLock::clearStale();
    EXPECT_FALSE(fs::exists(lock));
}

TEST_F(RecordingLockTest, AtLaunchTheLockOfALiveProcessStays) {
    ASSERT_TRUE(RecordingLock::write(folder / "a", ::getppid()));
    RecordingLock::clearStale();
    EXPECT_TRUE(fs::exists(lock));
}

TEST_F(RecordingLockTest, AtLaunchRubbishGoes) {
    for (const char* text : {"", "\n", "rubbish", "99999999999\n/a\n", "0\n/a\n", "-1\n/a\n", "\xEF\xBB\xBF"}) {
        write(text);
        RecordingLock::clearStale();
        EXPECT_FALSE(fs::exists(lock)) << text;
    }
    RecordingLock::clearStale(); // with no lock at all
}

TEST_F(RecordingLockTest, WhatCannotBeReadProtectsNothingAndStays) {
    const auto expectHarmless = [this] {
        EXPECT_FALSE(RecordingLock::isLive(folder / "a"));
        EXPECT_FALSE(RecordingLock::recordingElsewhere());
        RecordingLock::clearStale();
        RecordingLock::remove();
        EXPECT_TRUE(base::nameTaken(lock));
    };
    write("\xFF\xFE not UTF-8");
    expectHarmless();
    write(QByteArray(1024 * 1024, '1'));
    expectHarmless();
    fs::remove(lock);
    fs::create_directory(lock);
    expectHarmless();
    fs::remove(lock);
    fs::create_symlink("nowhere", lock);
    expectHarmless();
    fs::remove(lock);
    ASSERT_EQ(::mkfifo(lock.c_str(), 0600), 0);
    expectHarmless();
}

TEST_F(RecordingLockTest, ALockCutAtAnyByteNeverNamesAnotherFolder) {
    const QByteArray whole = QByteArray::number(::getpid()) + "\n/a/meeting\n";
    for (qsizetype length = 0; length <= whole.size(); ++length) {
        write(whole.first(length));
        EXPECT_EQ(RecordingLock::isLive("/a/meeting"), length >= whole.size() - 1) << length;
    }
}

TEST_F(RecordingLockTest, AByteOrderMarkIsNoMatter) {
    write("\xEF\xBB\xBF" + QByteArray::number(::getppid()) + "\n/a\n");
    EXPECT_TRUE(RecordingLock::isLive("/a"));
}

} // namespace
