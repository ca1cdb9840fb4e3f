#include "store/AppPaths.h"

#include "fakes/ScopedVariable.h"
#include "fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace store;
namespace fs = std::filesystem;

namespace {

class AppPathsTest : public testing::Test {
protected:
    fakes::TemporaryFolder folder;
    fakes::ScopedVariable home{"TARVEX_HOME", (folder / "root").string()};
    fakes::ScopedVariable dataHome{"XDG_DATA_HOME", std::nullopt};
    fakes::ScopedVariable configHome{"XDG_CONFIG_HOME", std::nullopt};
    fakes::ScopedVariable userHome{"HOME", (folder / "user").string()};
    fakes::ScopedVariable number{"TARVEX_NUMBER", std::nullopt};
    fakes::ScopedVariable onboarding{"TARVEX_SHOW_ONBOARDING", std::nullopt};
    fakes::ScopedVariable windows{"TARVEX_SHOW_WINDOWS", std::nullopt};
    const QTimeZone taipei{"Asia/Taipei"};
    const QDateTime now{QDate(2025, 3, 7), QTime(9, 30, 12), taipei};

    static mode_t modeOf(const fs::path& path) {
        struct stat status{};
        ::lstat(path.c_str(), &status);
        return status.st_mode & 07777;
    }

    static void write(const fs::path& path, const QByteArray& bytes = "x") {
        ASSERT_TRUE(base::makeFolders(path.parent_path()));
        ASSERT_TRUE(base::replaceFile(path, bytes));
    }

    static QStringList names(const fs::path& in) {
        QStringList found;
        for (const auto& entry : fs::directory_iterator(in)) {
            found.append(base::nameText(entry.path()));
        }
        found.sort();
        return found;
    }
};

TEST_F(AppPathsTest, TheTestFolderIsTheRoot) {
    EXPECT_TRUE(AppPaths::testMode());
    EXPECT_EQ(AppPaths::root(), folder / "root");
    EXPECT_EQ(AppPaths::meetings(), folder / "root/Meetings");
    EXPECT_EQ(AppPaths::people(), folder / "root/people.json");
    EXPECT_EQ(AppPaths::types(), folder / "root/types.json");
    EXPECT_EQ(AppPaths::work(), folder / "root/tmp");
    EXPECT_EQ(AppPaths::testTrash(), folder / "root/Trash");
}

TEST_F(AppPathsTest, ARelativeTestFolderIsMadeAbsolute) {
    home.set("some/folder");
    EXPECT_EQ(AppPaths::root(), fs::current_path() / "some/folder");
}

TEST_F(AppPathsTest, ATestFolderMayHaveAnyBytes) {
    home.set("/tmp/\xFF\xFE");
    EXPECT_EQ(AppPaths::root(), fs::path("/tmp/\xFF\xFE"));
}

TEST_F(AppPathsTest, WithoutATestFolderTheRootIsInTheDataFolder) {
    for (const auto& none : {std::optional<std::string>(), std::optional<std::string>("")}) {
        home.set(none);
        dataHome.set(std::nullopt);
        EXPECT_FALSE(AppPaths::testMode());
        EXPECT_EQ(AppPaths::root(), folder / "user/.local/share/Tarvex");
        dataHome.set("/data");
        EXPECT_EQ(AppPaths::root(), fs::path("/data/Tarvex"));
    }
}

TEST_F(AppPathsTest, ARelativeDataFolderDoesNotCount) {
    home.set(std::nullopt);
    dataHome.set("data");
    EXPECT_EQ(AppPaths::root(), folder / "user/.local/share/Tarvex");
}

TEST_F(AppPathsTest, WithoutAHomeVariableTheAccountSaysWhereHomeIs) {
    home.set(std::nullopt);
    userHome.set(std::nullopt);
    const fs::path account = ::getpwuid(::getuid())->pw_dir;
    EXPECT_EQ(AppPaths::root(), account / ".local/share/Tarvex");
    EXPECT_EQ(AppPaths::defaultsFile().parent_path(), account / ".config/Tarvex");
}

TEST_F(AppPathsTest, OnboardingIsSkippedInTestModeUnlessAskedFor) {
    EXPECT_TRUE(AppPaths::skipOnboarding());
    onboarding.set("0");
    EXPECT_TRUE(AppPaths::skipOnboarding());
    onboarding.set("1");
    EXPECT_FALSE(AppPaths::skipOnboarding());
    home.set(std::nullopt);
    EXPECT_FALSE(AppPaths::skipOnboarding());
    onboarding.set(std::nullopt);
    EXPECT_FALSE(AppPaths::skipOnboarding());
}

TEST_F(AppPathsTest, WindowsShowInTestModeOnlyWhenAskedFor) {
    EXPECT_FALSE(AppPaths::showWindows());
    windows.set("true");
    EXPECT_FALSE(AppPaths::showWindows());
    windows.set("1");
    EXPECT_TRUE(AppPaths::showWindows());
    home.set(std::nullopt);
    windows.set(std::nullopt);
    EXPECT_TRUE(AppPaths::showWindows());
    windows.set("0");
    EXPECT_TRUE(AppPaths::showWindows());
}

TEST_F(AppPathsTest, TestNumbersCountInTestModeOnly) {
    number.set("2.5");
    EXPECT_EQ(AppPaths::testNumber("TARVEX_NUMBER", 45), 2.5);
    number.set("2.5s");
    EXPECT_EQ(AppPaths::testNumber("TARVEX_NUMBER", 45), 45);
    number.set(std::nullopt);
    EXPECT_EQ(AppPaths::testNumber("TARVEX_NUMBER", 45), 45);
    number.set("2.5");
    home.set(std::nullopt);
    EXPECT_EQ(AppPaths::testNumber("TARVEX_NUMBER", 45), 45);
}

TEST_F(AppPathsTest, TheSuiteNameIsAHashOfThePath) {
    EXPECT_EQ(AppPaths::testSuiteName(""), u"com.orvane.tarvex.test.cbf29ce484222325"_s);
    EXPECT_EQ(AppPaths::testSuiteName("/a"), u"com.orvane.tarvex.test.7d66707b49cd92d"_s);
    EXPECT_NE(AppPaths::testSuiteName("/a"), AppPaths::testSuiteName("/b"));
}

TEST_F(AppPathsTest, OneFolderHasOneSuiteNameHoweverItsPathIsWritten) {
    const QString name = AppPaths::testSuiteName("/tmp/test/folder");
    for (const char* path : {"/tmp/test/folder/", "/tmp/test/other/../folder", "/tmp/./test//folder"}) {
        EXPECT_EQ(AppPaths::testSuiteName(path), name) << path;
    }
}

TEST_F(AppPathsTest, ATestRunLeavesTheUsersPreferencesAlone) {
    home.set(std::nullopt);
    AppPaths::defaults().set(u"onboardingDone"_s, true);
    EXPECT_EQ(AppPaths::defaultsFile(), folder / "user/.config/Tarvex/com.orvane.tarvex.json");
    const auto before = base::readFile(AppPaths::defaultsFile()).value();

    home.set((folder / "root").string());
    AppPaths::defaults().set(u"onboardingDone"_s, false);
    EXPECT_EQ(AppPaths::defaultsFile().parent_path(), folder / "root");
    EXPECT_EQ(AppPaths::defaults().value(u"onboardingDone"_s), base::Json(false));

    home.set(std::nullopt);
    EXPECT_EQ(base::readFile(AppPaths::defaultsFile()), before);
    EXPECT_EQ(AppPaths::defaults().value(u"onboardingDone"_s), base::Json(true));
}

TEST_F(AppPathsTest, PreferencesStandInTheConfigurationFolder) {
    home.set(std::nullopt);
    configHome.set("/config");
    EXPECT_EQ(AppPaths::defaultsFile(), fs::path("/config/Tarvex/com.orvane.tarvex.json"));
    configHome.set("config");
    EXPECT_EQ(AppPaths::defaultsFile(), folder / "user/.config/Tarvex/com.orvane.tarvex.json");
}

TEST_F(AppPathsTest, PrepareMakesTheMeetingsFolderForTheUserAlone) {
    ASSERT_TRUE(AppPaths::prepare());
    EXPECT_EQ(modeOf(AppPaths::root()), 0700U);
    EXPECT_EQ(modeOf(AppPaths::meetings()), 0700U);
    EXPECT_TRUE(AppPaths::prepare());
}

TEST_F(AppPathsTest, PrepareSaysWhyItCannot) {
    write(folder / "root", "a file where the folder should be");
    const auto made = AppPaths::prepare();
    ASSERT_FALSE(made);
    EXPECT_FALSE(made.error().text.isEmpty());
}

TEST_F(AppPathsTest, TheWorkFolderIsEmptiedAndMadeAgain) {
    write(AppPaths::work() / "whisper_1" / "mic.json");
    write(AppPaths::work() / "file");
    AppPaths::clearWork();
    EXPECT_TRUE(fs::is_empty(AppPaths::work()));
}

TEST_F(AppPathsTest, AMissingWorkFolderIsMade) {
    AppPaths::clearWork();
    EXPECT_TRUE(fs::is_empty(AppPaths::work()));
    EXPECT_EQ(modeOf(AppPaths::work()), 0700U);
}

TEST_F(AppPathsTest, AWorkFolderThatIsALinkIsNotEmptiedBehindTheLink) {
    write(folder / "elsewhere" / "precious");
    fs::create_directories(AppPaths::root());
    fs::create_directory_symlink(folder / "elsewhere", AppPaths::work());
    AppPaths::clearWork();
    EXPECT_TRUE(fs::exists(folder / "elsewhere" / "precious"));
    EXPECT_FALSE(fs::is_symlink(AppPaths::work()));
    EXPECT_TRUE(fs::is_directory(AppPaths::work()));
}

TEST_F(AppPathsTest, ALinkInTheWorkFolderGoesWithoutWhatItPointsTo) {
    write(folder / "elsewhere" / "precious");
    fs::create_directories(AppPaths::work());
    fs::create_directory_symlink(folder / "elsewhere", AppPaths::work() / "link");
    AppPaths::clearWork();
    EXPECT_TRUE(fs::exists(folder / "elsewhere" / "precious"));
    EXPECT_TRUE(fs::is_empty(AppPaths::work()));
}

TEST_F(AppPathsTest, AMovedItemIsStampedWithTheMoment) {
    write(folder / "item" / "inside");
    ASSERT_TRUE(AppPaths::moveToFolder(folder / "item", folder / "bin", now, taipei));
    EXPECT_EQ(names(folder / "bin"), QStringList{u"20250307-093012_item"_s});
    EXPECT_TRUE(fs::exists(folder / "bin/20250307-093012_item/inside"));
    EXPECT_FALSE(fs::exists(folder / "item"));
}

TEST_F(AppPathsTest, ItemsMovedInTheSameSecondAreNumberedInFrontOfTheirName) {
    for (int round = 0; round < 3; ++round) {
        write(folder / "item");
        ASSERT_TRUE(AppPaths::moveToFolder(folder / "item", folder / "bin", now, taipei));
    }
    EXPECT_EQ(names(folder / "bin"),
              (QStringList{u"20250307-093012_2_item"_s, u"20250307-093012_3_item"_s, u"20250307-093012_item"_s}));
}

TEST_F(AppPathsTest, ADanglingLinkTakesANameToo) {
    write(folder / "item");
    fs::create_directory(folder / "bin");
    fs::create_symlink(folder / "nowhere", folder / "bin/20250307-093012_item");
    ASSERT_TRUE(AppPaths::moveToFolder(folder / "item", folder / "bin", now, taipei));
    EXPECT_TRUE(fs::is_symlink(folder / "bin/20250307-093012_item"));
    EXPECT_TRUE(fs::exists(folder / "bin/20250307-093012_2_item"));
}

TEST_F(AppPathsTest, ATrailingSlashNamesTheSameItem) {
    write(folder / "item" / "inside");
    ASSERT_TRUE(AppPaths::moveToFolder(folder / "item/", folder / "bin", now, taipei));
    EXPECT_EQ(names(folder / "bin"), QStringList{u"20250307-093012_item"_s});
}

TEST_F(AppPathsTest, AMissingItemIsAnError) {
    const auto moved = AppPaths::moveToFolder(folder / "none", folder / "bin", now);
    ASSERT_FALSE(moved);
    EXPECT_EQ(moved.error().kind, base::FileError::Kind::Missing);
}

TEST_F(AppPathsTest, AnItemCrossesFileSystemsWhole) {
    const fs::path other = "/dev/shm";
    struct stat here{};
    struct stat there{};
    if (::stat(folder.path.c_str(), &here) != 0 || ::stat(other.c_str(), &there) != 0 || here.st_dev == there.st_dev ||
        ::access(other.c_str(), W_OK) != 0) {
        GTEST_SKIP() << "no second file system to write to";
    }
    std::string pattern = (other / "brieflet-test-XXXXXX").string();
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    const fs::path bin = pattern;
    write(folder / "item" / "shots" / "shot_0000s.jpg", "picture");
    fs::create_symlink("nowhere", folder / "item/link");
    EXPECT_TRUE(AppPaths::moveToFolder(folder / "item", bin, now, taipei));
    EXPECT_EQ(base::readFile(bin / "20250307-093012_item/shots/shot_0000s.jpg"), QByteArray("picture"));
    EXPECT_TRUE(fs::is_symlink(bin / "20250307-093012_item/link"));
    EXPECT_FALSE(fs::exists(folder / "item"));
    fs::remove_all(bin);
}

TEST_F(AppPathsTest, TheTrashOfATestIsInItsFolder) {
    write(AppPaths::meetings() / "2025_03_07_0930" / "meta.json");
    ASSERT_TRUE(AppPaths::trashItem(AppPaths::meetings() / "2025_03_07_0930", now));
    EXPECT_TRUE(fs::is_empty(AppPaths::meetings()));
    ASSERT_EQ(names(AppPaths::testTrash()).size(), 1);
    EXPECT_TRUE(names(AppPaths::testTrash()).front().endsWith(u"_2025_03_07_0930"));
}

TEST_F(AppPathsTest, OutsideTestModeTheDesktopsTrashIsUsed) {
    home.set(std::nullopt);
    dataHome.set((folder / "data").string());
    fs::create_directories(folder / "user");
    fs::create_directories(folder / "data");
    write(AppPaths::meetings() / "2025_03_07_0930_會議" / "meta.json", "kept");
    ASSERT_TRUE(AppPaths::trashItem(AppPaths::meetings() / "2025_03_07_0930_會議", now));
    EXPECT_TRUE(fs::is_empty(AppPaths::meetings()));
    EXPECT_EQ(base::readFile(folder / "data/Trash/files/2025_03_07_0930_會議/meta.json"), QByteArray("kept"));
    EXPECT_TRUE(fs::exists(folder / "data/Trash/info/2025_03_07_0930_會議.trashinfo"));
}

TEST_F(AppPathsTest, WhatCannotBeTrashedStaysAndSaysWhy) {
    home.set(std::nullopt);
    dataHome.set((folder / "data").string());
    const auto missing = AppPaths::trashItem(folder / "none", now);
    ASSERT_FALSE(missing);
    EXPECT_FALSE(missing.error().text.isEmpty());

    write(folder / "\xFF" / "meta.json");
    const auto unnamed = AppPaths::trashItem(folder / "\xFF", now);
    ASSERT_FALSE(unnamed);
    EXPECT_FALSE(unnamed.error().text.isEmpty());
    EXPECT_TRUE(fs::exists(folder / "\xFF" / "meta.json"));
}

} // namespace
