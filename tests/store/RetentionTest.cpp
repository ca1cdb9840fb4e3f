#include "store/Retention.h"

#include "base/Files.h"
#include "fakes/ScopedVariable.h"
#include "fakes/TemporaryFolder.h"
#include "store/MeetingMeta.h"
#include "store/RecordingLock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace store;
namespace fs = std::filesystem;

namespace {

const QDateTime now(QDate(2025, 3, 14), QTime(9, 0), Qt::UTC);
constexpr qint64 day = 86400;
constexpr qint64 sevenDays = 604800;

bool nobody(const fs::path& /*folder*/) {
    return false;
}

class RetentionTest : public testing::Test {
protected:
    fakes::TemporaryFolder root;
    fakes::ScopedVariable home{"TARVEX_HOME", root.path.string()};
    const fs::path meetings = root / "Meetings";

    fs::path make(const fs::path& name, const std::optional<QDateTime>& end) const {
        const fs::path folder = meetings / name;
        fs::create_directories(folder / "shots");
        for (const char* file :
             {"mic.m4a", "system.m4a", "shots/shot_0000s.jpg", "notes.md", "transcript.json", "summary.json"}) {
            EXPECT_TRUE(base::replaceFile(folder / file, "x"));
        }
        if (end) {
            const QByteArray meta = "{\"end\": \"" + MeetingMeta::timestamp(*end).toUtf8() + "\"}";
            EXPECT_TRUE(base::replaceFile(folder / "meta.json", meta));
        }
        return folder;
    }

    static void setModified(const fs::path& path, const QDateTime& date) {
        const timespec stamp{date.toSecsSinceEpoch(), 0};
        const timespec both[2] = {stamp, stamp};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), both, AT_SYMLINK_NOFOLLOW), 0);
    }

    static std::vector<std::string> names(const fs::path& folder) {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder)) {
            found.push_back(entry.path().filename().string());
        }
        std::ranges::sort(found);
        return found;
    }
};

TEST(RetentionRuleTest, ExactlySevenDaysAreNotOver) {
    EXPECT_FALSE(Retention::isExpired(now.addSecs(-sevenDays), now));
    EXPECT_TRUE(Retention::isExpired(now.addSecs(-sevenDays).addMSecs(-1), now));
    EXPECT_FALSE(Retention::isExpired(now.addSecs(sevenDays), now));
}

TEST(RetentionRuleTest, TheZoneOfADateIsNoMatter) {
    const QTimeZone auckland("Pacific/Auckland");
    EXPECT_FALSE(Retention::isExpired(now.addSecs(-sevenDays).toTimeZone(auckland), now));
    EXPECT_TRUE(Retention::isExpired(now.addSecs(-sevenDays - 1).toTimeZone(auckland), now));
}

TEST(RetentionRuleTest, TheEndOfTheMeetingComesBeforeTheDateOfTheFile) {
    EXPECT_EQ(Retention::referenceDate(now, now.addSecs(1)), now);
    EXPECT_EQ(Retention::referenceDate(now, std::nullopt), now);
    EXPECT_EQ(Retention::referenceDate(std::nullopt, now), now);
    EXPECT_EQ(Retention::referenceDate(std::nullopt, std::nullopt), std::nullopt);
}

TEST(RetentionRuleTest, DaysLeftAreRoundedDownAndNeverNegative) {
    EXPECT_EQ(Retention::daysLeft(now, now), 7);
    EXPECT_EQ(Retention::daysLeft(now.addSecs(-1), now), 6);
    EXPECT_EQ(Retention::daysLeft(now.addSecs(-sevenDays + 6 * day + 23 * 3600), now), 6);
    EXPECT_EQ(Retention::daysLeft(now.addSecs(-sevenDays + day), now), 1);
    EXPECT_EQ(Retention::daysLeft(now.addSecs(-sevenDays + day - 1), now), 0);
    EXPECT_EQ(Retention::daysLeft(now.addSecs(-sevenDays + 23 * 3600), now), 0);
    EXPECT_EQ(Retention::daysLeft(now.addSecs(-sevenDays), now), 0);
    EXPECT_EQ(Retention::daysLeft(now.addSecs(-30 * day), now), 0);
    EXPECT_EQ(Retention::daysLeft(now.addSecs(30 * day), now), 37);
}

TEST_F(RetentionTest, AnOldMeetingLosesAudioAndShotsAndKeepsItsText) {
    const auto folder = make("a", now.addSecs(-sevenDays - 1));
    EXPECT_THAT(Retention::prune(meetings, now, nobody),
                testing::ElementsAre(folder / "mic.m4a", folder / "system.m4a", folder / "shots"));
    EXPECT_THAT(names(folder), testing::ElementsAre("meta.json", "notes.md", "summary.json", "transcript.json"));
    EXPECT_TRUE(Retention::prune(meetings, now, nobody).empty());
}

TEST_F(RetentionTest, AMeetingThatEndedExactlySevenDaysAgoStays) {
    make("a", now.addSecs(-sevenDays));
    EXPECT_TRUE(Retention::prune(meetings, now, nobody).empty());
}

TEST_F(RetentionTest, ALeftoverCafStays) {
    const auto folder = make("a", now.addSecs(-30 * day));
    ASSERT_TRUE(base::replaceFile(folder / "mic.caf", "x"));
    setModified(folder / "mic.caf", now.addSecs(-30 * day));
    std::ignore = Retention::prune(meetings, now, nobody);
    EXPECT_TRUE(fs::exists(folder / "mic.caf"));
}

TEST_F(RetentionTest, WithoutAnEndEachFileCountsByItsOwnDate) {
    const auto folder = make("a", std::nullopt);
    setModified(folder / "mic.m4a", now.addSecs(-8 * day));
    setModified(folder / "system.m4a", now.addSecs(-6 * day));
    setModified(folder / "shots", now.addSecs(-sevenDays));
    EXPECT_THAT(Retention::prune(meetings, now, nobody), testing::ElementsAre(folder / "mic.m4a"));
    EXPECT_TRUE(fs::exists(folder / "system.m4a"));
    EXPECT_TRUE(fs::exists(folder / "shots/shot_0000s.jpg"));
}

TEST_F(RetentionTest, AnEndThatIsNoDateLeavesTheFilesDate) {
    const auto folder = make("a", std::nullopt);
    ASSERT_TRUE(base::replaceFile(folder / "meta.json", R"({"end": "2020"})"));
    setModified(folder / "mic.m4a", now.addSecs(-8 * day));
    setModified(folder / "system.m4a", now);
    setModified(folder / "shots", now);
    EXPECT_THAT(Retention::prune(meetings, now, nobody), testing::ElementsAre(folder / "mic.m4a"));
}

TEST_F(RetentionTest, TouchingAFileDoesNotKeepIt) {
    const auto folder = make("a", now.addSecs(-8 * day));
    setModified(folder / "mic.m4a", now);
    std::ignore = Retention::prune(meetings, now, nobody);
    EXPECT_FALSE(fs::exists(folder / "mic.m4a"));
}

TEST_F(RetentionTest, AFileOfAnyAgeStaysWhileItsMeetingIsYoung) {
    const auto folder = make("a", now.addSecs(-day));
    setModified(folder / "mic.m4a", now.addSecs(-30 * day));
    EXPECT_TRUE(Retention::prune(meetings, now, nobody).empty());
}

TEST_F(RetentionTest, TheFolderThatTheLockNamesIsSkipped) {
    const auto folder = make("a", now.addSecs(-30 * day));
    const auto other = make("b", now.addSecs(-30 * day));
    ASSERT_TRUE(RecordingLock::write(folder));
    EXPECT_EQ(Retention::prune(meetings, now).size(), 3U);
    EXPECT_TRUE(fs::exists(folder / "mic.m4a"));
    EXPECT_FALSE(fs::exists(other / "mic.m4a"));
}

TEST_F(RetentionTest, HiddenFoldersFilesAndLinksAreLeftAlone) {
    make(".hidden", now.addSecs(-30 * day));
    const fakes::TemporaryFolder elsewhere;
    ASSERT_TRUE(base::replaceFile(elsewhere / "mic.m4a", "x"));
    setModified(elsewhere / "mic.m4a", now.addSecs(-30 * day));
    fs::create_directory_symlink(elsewhere.path, meetings / "link");
    ASSERT_TRUE(base::replaceFile(meetings / "mic.m4a", "x"));
    EXPECT_TRUE(Retention::prune(meetings, now, nobody).empty());
    EXPECT_TRUE(Retention::prune(root / "none", now, nobody).empty());
}

TEST_F(RetentionTest, ALinkInAMeetingGoesWithoutWhatItPointsTo) {
    const auto folder = make("a", now.addSecs(-30 * day));
    fs::remove_all(folder / "shots");
    const fakes::TemporaryFolder elsewhere;
    ASSERT_TRUE(base::replaceFile(elsewhere / "precious", "x"));
    fs::create_directory_symlink(elsewhere.path, folder / "shots");
    std::ignore = Retention::prune(meetings, now, nobody);
    EXPECT_FALSE(base::nameTaken(folder / "shots"));
    EXPECT_TRUE(fs::exists(elsewhere / "precious"));
}

TEST_F(RetentionTest, AMeetingWithoutAudioIsNoMatter) {
    fs::create_directories(meetings / "a");
    EXPECT_TRUE(Retention::prune(meetings, now, nobody).empty());
}

} // namespace
