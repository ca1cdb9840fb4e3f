#include "platform/linux/InotifyWatch.h"

#include "base/Files.h"
#include "fakes/TemporaryFolder.h"

#include <QCoreApplication>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <fstream>
#include <set>
#include <sys/stat.h>
#include <thread>

using platform::linux_desktop::InotifyWatch;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Change = std::pair<std::string, std::string>;

class InotifyWatchTest : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directory(root / "a");
        std::filesystem::create_directory(root / "b");
        ASSERT_TRUE(watch.watch(root / "a"));
    }

    void write(const std::filesystem::path& file) const { std::ofstream(root / file) << "text"; }

    /// What has been told of up to now: the kernel tells in order, so a mark made last is told last.
    std::set<Change> told() {
        const std::string mark = "mark" + std::to_string(++marks);
        std::filesystem::create_directory(root / "marks");
        EXPECT_TRUE(watch.watch(root / "marks"));
        write(std::filesystem::path("marks") / mark);
        while (!changes.contains({"marks", mark})) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        std::erase_if(changes, [](const Change& change) { return change.first == "marks"; });
        return std::exchange(changes, {});
    }

    int argumentCount = 1;
    char name[5] = "test";
    char* arguments[2] = {name, nullptr};
    QCoreApplication application{argumentCount, arguments};
    fakes::TemporaryFolder root;
    std::set<Change> changes;
    int marks = 0;
    int losses = 0;
    InotifyWatch watch{{.onChange = [this](const std::filesystem::path& folder,
                                           const std::string& file) { changes.emplace(folder.filename(), file); },
                        .onLost = [this] { ++losses; }}};
};

TEST_F(InotifyWatchTest, EveryKindOfChangeIsTold) {
    write("a/notes.md");
    EXPECT_THAT(told(), ElementsAre(Change{"a", "notes.md"}));
    ASSERT_TRUE(base::replaceFile(root / "a" / "notes.md", "other"));
    EXPECT_THAT(told(), testing::Contains(Change{"a", "notes.md"}));
    ASSERT_EQ(::utimensat(AT_FDCWD, (root / "a" / "notes.md").c_str(), nullptr, 0), 0);
    EXPECT_THAT(told(), ElementsAre(Change{"a", "notes.md"}));
    std::filesystem::rename(root / "a" / "notes.md", root / "a" / "moved.md");
    EXPECT_THAT(told(), ElementsAre(Change{"a", "moved.md"}, Change{"a", "notes.md"}));
    std::filesystem::remove(root / "a" / "moved.md");
    EXPECT_THAT(told(), ElementsAre(Change{"a", "moved.md"}));
}

TEST_F(InotifyWatchTest, ReadingIsNoChange) {
    write("a/notes.md");
    static_cast<void>(told());
    EXPECT_TRUE(base::readFile(root / "a" / "notes.md"));
    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(InotifyWatchTest, OnlyWatchedFoldersAreTold) {
    write("b/notes.md");
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_TRUE(watch.watch(root / "b"));
    EXPECT_TRUE(watch.watch(root / "b"));
    write("b/notes.md");
    EXPECT_THAT(told(), ElementsAre(Change{"b", "notes.md"}));
    watch.forget(root / "a");
    watch.forget(root / "a");
    write("a/notes.md");
    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(InotifyWatchTest, ARenamedFolderIsToldUnderItsNewName) {
    std::filesystem::rename(root / "a", root / "c");
    EXPECT_TRUE(watch.watch(root / "c"));
    watch.forget(root / "a");
    write("c/notes.md");
    EXPECT_THAT(told(), ElementsAre(Change{"c", "notes.md"}));
}

TEST_F(InotifyWatchTest, AFolderThatIsGoneMayComeAgain) {
    std::filesystem::remove_all(root / "a");
    static_cast<void>(told());
    std::filesystem::create_directory(root / "a");
    EXPECT_TRUE(watch.watch(root / "a"));
    write("a/notes.md");
    EXPECT_THAT(told(), ElementsAre(Change{"a", "notes.md"}));
}

TEST_F(InotifyWatchTest, WhatIsNoFolderCantBeWatched) {
    write("file");
    EXPECT_FALSE(watch.watch(root / "file"));
    EXPECT_FALSE(watch.watch(root / "missing"));
}

TEST_F(InotifyWatchTest, OtherThreadsMayWatch) {
    std::thread([this] { EXPECT_TRUE(watch.watch(root / "b")); }).join();
    write("b/notes.md");
    EXPECT_THAT(told(), ElementsAre(Change{"b", "notes.md"}));
}

TEST_F(InotifyWatchTest, MoreChangesThanTheKernelKeepsAreALoss) {
    std::ifstream limit("/proc/sys/fs/inotify/max_queued_events");
    int most = 0;
    limit >> most;
    for (int i = 0; i < most / 2 + 10; ++i) { // making and removing a file are two that do not become one
        std::filesystem::create_symlink("x", root / "a" / "link");
        std::filesystem::remove(root / "a" / "link");
    }
    while (losses == 0) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    EXPECT_EQ(losses, 1);
}

} // namespace
