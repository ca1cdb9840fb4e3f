// The simulator must see what it is for: faults planted here are found.
#include "base/Files.h"
#include "base/Handle.h"
#include "fakes/TemporaryFolder.h"
#include "powercut/Cuts.h"
#include "powercut/Recording.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;
using powercut::Cut;
using powercut::tryCuts;

namespace {

enum class Flush { No, Yes };

void writeFile(const fs::path& path, const std::string& text, Flush flush) {
    const base::FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600));
    ASSERT_EQ(::write(file.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    if (flush == Flush::Yes) {
        ASSERT_EQ(::fsync(file.get()), 0);
    }
}

void flushFolder(const fs::path& folder) {
    ASSERT_TRUE(base::flushFolder(folder));
}

std::string textOf(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

class PowerCutTest : public testing::Test {
protected:
    fakes::TemporaryFolder folder;

    template<typename Work>
    powercut::History record(Work work) {
        powercut::Recording recording(folder.path);
        work();
        recording.mark("done");
        return recording.finish();
    }
};

std::string oldOrNew(const Cut& cut) {
    const std::string text = textOf(cut.folder / "file");
    if (cut.isAfter("done")) {
        return text == "new" ? "" : "the new content is lost";
    }
    return text == "old" || text == "new" ? "" : "neither the old content nor the new one: " + text;
}

TEST_F(PowerCutTest, WhatIsFlushedUnderAFlushedNameIsThere) {
    const auto history = record([&] {
        writeFile(folder / "file", "text", Flush::Yes);
        flushFolder(folder.path);
    });
    EXPECT_EQ(tryCuts(history,
                      [](const Cut& cut) {
                          return !cut.isAfter("done") || textOf(cut.folder / "file") == "text" ? "" : "lost";
                      }),
              "");
}

TEST_F(PowerCutTest, BytesThatAreNotFlushedCanBeLost) {
    const auto history = record([&] {
        writeFile(folder / "file", "text", Flush::No);
        flushFolder(folder.path);
    });
    EXPECT_THAT(tryCuts(history,
                        [](const Cut& cut) {
                            return !cut.isAfter("done") || textOf(cut.folder / "file") == "text" ? "" : "lost";
                        }),
                testing::StartsWith("lost (everything lost"));
}

TEST_F(PowerCutTest, ANameWhoseFolderIsNotFlushedCanBeLost) {
    const auto history = record([&] { writeFile(folder / "file", "text", Flush::Yes); });
    EXPECT_NE(
        tryCuts(history,
                [](const Cut& cut) { return !cut.isAfter("done") || fs::exists(cut.folder / "file") ? "" : "lost"; }),
        "");
}

TEST_F(PowerCutTest, AFolderIsNotSafeUntilTheFolderAroundItIs) {
    const auto history = record([&] {
        fs::create_directory(folder / "inner");
        writeFile(folder / "inner/file", "text", Flush::Yes);
        flushFolder(folder / "inner");
    });
    EXPECT_NE(
        tryCuts(history,
                [](const Cut& cut) { return !cut.isAfter("done") || fs::exists(cut.folder / "inner") ? "" : "lost"; }),
        "");
}

TEST_F(PowerCutTest, ARemovalThatIsNotFlushedCanComeBack) {
    writeFile(folder / "file", "text", Flush::Yes);
    const auto history = record([&] { fs::remove(folder / "file"); });
    EXPECT_NE(
        tryCuts(history,
                [](const Cut& cut) { return !cut.isAfter("done") || !fs::exists(cut.folder / "file") ? "" : "back"; }),
        "");
}

TEST_F(PowerCutTest, AMoveWithoutAFlushOfTheFileIsFound) {
    writeFile(folder / "file", "old", Flush::Yes);
    const auto history = record([&] {
        writeFile(folder / "temporary", "new", Flush::No);
        fs::rename(folder / "temporary", folder / "file");
        flushFolder(folder.path);
    });
    EXPECT_THAT(tryCuts(history, oldOrNew), testing::HasSubstr("neither the old content nor the new one"));
}

TEST_F(PowerCutTest, AMoveWithoutAFlushOfTheFolderIsFound) {
    writeFile(folder / "file", "old", Flush::Yes);
    const auto history = record([&] {
        writeFile(folder / "temporary", "new", Flush::Yes);
        fs::rename(folder / "temporary", folder / "file");
    });
    EXPECT_THAT(tryCuts(history, oldOrNew), testing::HasSubstr("the new content is lost"));
}

TEST_F(PowerCutTest, WritingOverTheOldContentIsFound) {
    writeFile(folder / "file", "old", Flush::Yes);
    const auto history = record([&] {
        writeFile(folder / "file", "new", Flush::Yes);
        flushFolder(folder.path);
    });
    EXPECT_THAT(tryCuts(history, oldOrNew), testing::HasSubstr("neither the old content nor the new one"));
}

TEST_F(PowerCutTest, AFileDeletedBeforeItsReplacementIsFlushedIsFound) {
    writeFile(folder / "mic.caf", "sound", Flush::Yes);
    const auto history = record([&] {
        writeFile(folder / "mic.m4a", "sound", Flush::No);
        fs::remove(folder / "mic.caf");
        flushFolder(folder.path);
    });
    EXPECT_THAT(tryCuts(history,
                        [](const Cut& cut) {
                            const bool there =
                                textOf(cut.folder / "mic.caf") == "sound" || textOf(cut.folder / "mic.m4a") == "sound";
                            return there ? "" : "the sound is lost";
                        }),
                testing::HasSubstr("the sound is lost"));
}

TEST_F(PowerCutTest, HalfOfAWriteIsAPossibility) {
    const std::string text(1000, 'x');
    const auto history = record([&] { writeFile(folder / "file", text, Flush::No); });
    std::set<std::size_t> sizes;
    EXPECT_EQ(tryCuts(
                  history,
                  [&sizes](const Cut& cut) {
                      if (fs::exists(cut.folder / "file")) {
                          sizes.insert(textOf(cut.folder / "file").size());
                      }
                      return "";
                  },
                  30),
              "");
    EXPECT_EQ(sizes, (std::set<std::size_t>{0, 500, 1000}));
}

TEST_F(PowerCutTest, EveryWayToChangeFilesIsSeen) {
    writeFile(folder / "present", "abc", Flush::Yes);
    const auto history = record([&] {
        fs::create_directories(folder / "a/b");
        writeFile(folder / "a/b/file", "text", Flush::No);
        fs::rename(folder / "a/b", folder / "c");
        fs::create_hard_link(folder / "c/file", folder / "a/second");
        fs::create_symlink("nowhere", folder / "link");
        fs::resize_file(folder / "present", 2);
        std::ofstream(folder / "a/stream") << "by a stream";
        ASSERT_TRUE(base::replaceFile(folder / "replaced", "x"));
        ASSERT_TRUE(base::moveItem(folder / "replaced", folder / "a/moved"));
        const base::FileDescriptor file(::open((folder / "a/second").c_str(), O_WRONLY | O_APPEND));
        ASSERT_EQ(::write(file.get(), "+", 1), 1);
        const base::FileDescriptor again(::open((folder / "c/file").c_str(), O_WRONLY));
        ASSERT_EQ(::pwrite(again.get(), "T", 1, 0), 1);
        fs::copy_file(folder / "c/file", folder / "copy");
        fs::create_directory(folder / "gone");
        writeFile(folder / "gone/file", "text", Flush::No);
        fs::remove_all(folder / "gone");
    });
    EXPECT_FALSE(history.steps.empty());
}

TEST_F(PowerCutTest, AChangeThatIsNotSeenIsAnError) {
    EXPECT_THROW(std::ignore = record([&] {
                     // Another process is beyond what is replaced here.
                     ASSERT_EQ(std::system(("touch " + (folder / "file").string()).c_str()), 0);
                 }),
                 std::runtime_error);
}

TEST_F(PowerCutTest, WhatHappensElsewhereIsNoStep) {
    const fakes::TemporaryFolder elsewhere;
    const auto history = record([&] { writeFile(elsewhere / "file", "text", Flush::Yes); });
    EXPECT_EQ(history.steps.size(), 1U); // the mark
}

} // namespace
