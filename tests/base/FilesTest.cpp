#include "base/Files.h"

#include "fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <set>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace base;
using namespace Qt::StringLiterals;

namespace {

class FilesTest : public testing::Test {
protected:
    fakes::TemporaryFolder folder;

    [[nodiscard]] std::size_t entries() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder.path), fs::directory_iterator()));
    }

    static mode_t modeOf(const fs::path& path) {
        struct stat status{};
        ::lstat(path.c_str(), &status);
        return status.st_mode & 07777;
    }
};

TEST_F(FilesTest, WhatWasReplacedIsReadBack) {
    const auto path = folder / "file.json";
    ASSERT_TRUE(replaceFile(path, "first"));
    ASSERT_TRUE(replaceFile(path, QByteArray("with\0zero", 9)));
    EXPECT_EQ(readFile(path), QByteArray("with\0zero", 9));
    EXPECT_EQ(entries(), 1U);
}

TEST_F(FilesTest, AReplacedFileIsForItsOwnerAlone) {
    const auto path = folder / "file";
    ASSERT_TRUE(replaceFile(path, ""));
    EXPECT_EQ(modeOf(path), 0600U);
}

TEST_F(FilesTest, ALinkIsReplacedAndItsTargetLeftAlone) {
    ASSERT_TRUE(replaceFile(folder / "target", "kept"));
    fs::create_symlink(folder / "target", folder / "link");
    ASSERT_TRUE(replaceFile(folder / "link", "new"));
    EXPECT_EQ(readFile(folder / "target"), QByteArray("kept"));
    EXPECT_EQ(readFile(folder / "link"), QByteArray("new"));
    EXPECT_FALSE(fs::is_symlink(folder / "link"));
}

TEST_F(FilesTest, AFailedReplacementLeavesTheOldFileAndNoOther) {
    const auto path = folder / "file";
    ASSERT_TRUE(replaceFile(path, "old"));
    // A limit on the size of files stands for a full disk.
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{1000, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
    const auto result = replaceFile(path, QByteArray(5000, 'x'));
    ::setrlimit(RLIMIT_FSIZE, &before);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, EFBIG);
    EXPECT_FALSE(result.error().text.isEmpty());
    EXPECT_EQ(readFile(path), QByteArray("old"));
    EXPECT_EQ(entries(), 1U);
}

TEST_F(FilesTest, AFolderInTheWayIsAnErrorAndStays) {
    fs::create_directory(folder / "file");
    EXPECT_FALSE(replaceFile(folder / "file", "x"));
    EXPECT_TRUE(fs::is_directory(folder / "file"));
    EXPECT_EQ(entries(), 1U);
}

TEST_F(FilesTest, AMissingFolderIsAnError) {
    const auto result = replaceFile(folder / "no" / "file", "x");
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().kind, FileError::Kind::Missing);
}

TEST_F(FilesTest, ALongNameStillHasATemporaryFile) {
    const auto path = folder / std::string(255, 'n');
    EXPECT_TRUE(replaceFile(path, "x"));
    EXPECT_EQ(entries(), 1U);
}

TEST_F(FilesTest, WhatAKillLeftOfAReplacementIsRemovedAndNothingElse) {
    for (const char* name : {".meta.json.123-456.tmp", ".a\nb.1-2.tmp", ".\xFF.1-2.tmp", "meta.json.123-456.tmp",
                             ".meta.json.tmp", ".meta.json.123-456.tmp.md", ".meta.json.12a-456.tmp", ".hidden"}) {
        ASSERT_TRUE(replaceFile(folder / name, "x"));
    }
    fs::create_directory(folder / ".folder.1-2.tmp");
    removeTemporaries(folder.path);
    std::set<std::string> left;
    for (const auto& entry : fs::directory_iterator(folder.path)) {
        left.insert(entry.path().filename().string());
    }
    EXPECT_EQ(left, (std::set<std::string>{"meta.json.123-456.tmp", ".meta.json.tmp", ".meta.json.123-456.tmp.md",
                                           ".meta.json.12a-456.tmp", ".hidden", ".folder.1-2.tmp"}));
    removeTemporaries(folder / "none");
}

TEST_F(FilesTest, AKilledReplacementLeavesATemporaryFileThatIsKnown) {
    const pid_t child = ::fork();
    if (child == 0) {
        const rlimit none{0, 0};
        ::setrlimit(RLIMIT_FSIZE, &none); // the first byte ends the process
        ::signal(SIGXFSZ, SIG_DFL);
        std::ignore = replaceFile(folder / "meta.json", "x");
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status));
    ASSERT_EQ(entries(), 1U);
    removeTemporaries(folder.path);
    EXPECT_EQ(entries(), 0U);
}

TEST_F(FilesTest, AMovedItemHasItsNewNameAlone) {
    ASSERT_TRUE(replaceFile(folder / "old", "x"));
    ASSERT_TRUE(moveItem(folder / "old", folder / "new"));
    EXPECT_EQ(readFile(folder / "new"), QByteArray("x"));
    EXPECT_EQ(entries(), 1U);
}

TEST_F(FilesTest, AMoveNeverReplacesAnything) {
    fs::create_directory(folder / "old");
    fs::create_directory(folder / "empty folder");
    ASSERT_TRUE(replaceFile(folder / "file", "kept"));
    fs::create_symlink("nowhere", folder / "dangling");
    for (const char* name : {"empty folder", "file", "dangling"}) {
        const auto moved = moveItem(folder / "old", folder / name);
        ASSERT_FALSE(moved) << name;
        EXPECT_EQ(moved.error().code, EEXIST) << name;
        EXPECT_TRUE(nameTaken(folder / name)) << name;
    }
    EXPECT_TRUE(fs::is_directory(folder / "old"));
    EXPECT_EQ(moveItem(folder / "none", folder / "new").error().kind, FileError::Kind::Missing);
}

TEST_F(FilesTest, ALinkIsMovedItself) {
    fs::create_symlink("nowhere", folder / "link");
    ASSERT_TRUE(moveItem(folder / "link", folder / "moved"));
    EXPECT_TRUE(fs::is_symlink(folder / "moved"));
    EXPECT_FALSE(nameTaken(folder / "link"));
}

TEST_F(FilesTest, ReadingTellsWhatIsWrong) {
    EXPECT_EQ(readFile(folder / "missing").error().kind, FileError::Kind::Missing);
    EXPECT_EQ(readFile(folder.path).error().kind, FileError::Kind::NotRegular);
    fs::create_symlink(folder / "nowhere", folder / "dangling");
    EXPECT_EQ(readFile(folder / "dangling").error().kind, FileError::Kind::Missing);
}

TEST_F(FilesTest, APipeIsNoFileAndDoesNotBlock) {
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(readFile(folder / "pipe").error().kind, FileError::Kind::NotRegular);
}

TEST_F(FilesTest, TheLimitItselfIsReadAndAByteMoreIsNot) {
    ASSERT_TRUE(replaceFile(folder / "file", QByteArray(10, 'x')));
    EXPECT_EQ(readFile(folder / "file", 10).value().size(), 10);
    EXPECT_EQ(readFile(folder / "file", 9).error().kind, FileError::Kind::TooLarge);
}

TEST_F(FilesTest, TextDropsAByteOrderMarkAndRefusesOtherEncodings) {
    ASSERT_TRUE(replaceFile(folder / "bom", "\xEF\xBB\xBFhey"));
    EXPECT_EQ(readText(folder / "bom"), u"hey"_s);
    ASSERT_TRUE(replaceFile(folder / "latin", "caf\xE9"));
    EXPECT_EQ(readText(folder / "latin").error().kind, FileError::Kind::Other);
}

TEST_F(FilesTest, FoldersAreMadeWithTheirParentsForTheirOwnerAlone) {
    ASSERT_TRUE(makeFolders(folder / "a" / "b" / "c"));
    EXPECT_EQ(modeOf(folder / "a" / "b"), 0700U);
    EXPECT_TRUE(makeFolders(folder / "a" / "b" / "c"));
    EXPECT_TRUE(makeFolders((folder / "a").string() + "/"));
}

TEST_F(FilesTest, AFileWhereAFolderShouldBeIsAnError) {
    ASSERT_TRUE(replaceFile(folder / "a", "x"));
    EXPECT_FALSE(makeFolders(folder / "a"));
    EXPECT_FALSE(makeFolders(folder / "a" / "b"));
}

TEST_F(FilesTest, StandardizedPathsAreEqualForTheSameFolder) {
    EXPECT_EQ(standardized("/a/b/../c"), fs::path("/a/c"));
    EXPECT_EQ(standardized("/a//c/"), fs::path("/a/c"));
    EXPECT_EQ(standardized("/a/./c"), fs::path("/a/c"));
    EXPECT_EQ(standardized("/"), fs::path("/"));
    EXPECT_EQ(standardized("x"), fs::current_path() / "x");
}

TEST_F(FilesTest, NamesOfAnyBytesComeBackAsTheyWere) {
    const fs::path strange = folder / std::string("bad\xFFname");
    ASSERT_TRUE(replaceFile(strange, "x"));
    EXPECT_EQ(readFile(strange), QByteArray("x"));
    EXPECT_EQ(nameText(strange), u"bad\uFFFDname"_s);
    EXPECT_EQ(pathFrom(u"/會議/a"_s), fs::path("/會議/a"));
    EXPECT_EQ(nameText("/a/b/"), u"b"_s);
}

} // namespace
