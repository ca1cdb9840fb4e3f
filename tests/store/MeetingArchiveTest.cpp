#include "store/MeetingArchive.h"

#include "fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace store;
namespace fs = std::filesystem;

namespace {

class MeetingArchiveTest : public testing::Test {
protected:
    fakes::TemporaryFolder meetings;
    const QTimeZone taipei{"Asia/Taipei"};
    StoppedSession stopped;
    QStringList warnings;

    void SetUp() override {
        stopped.start = QDateTime(QDate(2025, 3, 7), QTime(1, 30, 12), Qt::UTC);
        stopped.end = stopped.start.addSecs(90);
        stopped.duration = 90.26;
        stopped.screenshotsEnabled = true;
        use("2025_03_07_0930");
    }

    void use(const fs::path& name) {
        stopped.folder = meetings / name;
        fs::create_directory(stopped.folder);
    }

    fs::path finalize(const std::optional<MeetingAnswers>& answers) {
        return MeetingArchive::finalize(
            stopped, answers, [this](const QString& text) { warnings.append(text); }, taipei);
    }
};

TEST_F(MeetingArchiveTest, TheFolderGetsItsAnswersAndItsName) {
    const auto final = finalize(MeetingAnswers{u"週會"_s, {u"Ann"_s}, u" weekly sync "_s});
    EXPECT_EQ(final, meetings / "2025_03_07_0930_weekly_sync");
    EXPECT_FALSE(fs::exists(stopped.folder));
    const MeetingMeta expected{.start = u"2025-03-07T09:30:12+08:00"_s,
                               .end = u"2025-03-07T09:31:42+08:00"_s,
                               .duration = 90.3,
                               .type = u"週會"_s,
                               .people = {u"Ann"_s},
                               .note = u"weekly sync"_s,
                               .screenshotsEnabled = true,
                               .mode = std::nullopt};
    EXPECT_EQ(MeetingArchive::readMeta(final), expected);
    EXPECT_TRUE(warnings.isEmpty());
}

TEST_F(MeetingArchiveTest, WithoutAnswersTheFolderIsUntitled) {
    EXPECT_EQ(finalize(std::nullopt), meetings / "2025_03_07_0930_未命名");
}

TEST_F(MeetingArchiveTest, ANoteOfOnlyBlanksIsNoTitle) {
    const auto final = finalize(MeetingAnswers{std::nullopt, {}, u"  "_s});
    EXPECT_EQ(final, meetings / "2025_03_07_0930_未命名");
    EXPECT_EQ(MeetingArchive::readMeta(final).value().note, std::nullopt);
}

TEST_F(MeetingArchiveTest, ATakenNameGetsTheFirstFreeNumber) {
    fs::create_directory(meetings / "2025_03_07_0930_未命名");
    EXPECT_EQ(finalize(std::nullopt), meetings / "2025_03_07_0930_未命名_2");
    use("2025_03_07_0930");
    EXPECT_EQ(finalize(std::nullopt), meetings / "2025_03_07_0930_未命名_3");
    EXPECT_TRUE(fs::is_empty(meetings / "2025_03_07_0930_未命名"));
}

TEST_F(MeetingArchiveTest, AFolderThatHasItsNameKeepsIt) {
    use("2025_03_07_0930_未命名");
    EXPECT_EQ(finalize(std::nullopt), stopped.folder);
    EXPECT_TRUE(MeetingArchive::readMeta(stopped.folder));
}

TEST_F(MeetingArchiveTest, ATrailingSlashIsNoOtherFolder) {
    stopped.folder /= "";
    EXPECT_EQ(finalize(std::nullopt), meetings / "2025_03_07_0930_未命名");
    EXPECT_TRUE(fs::exists(meetings / "2025_03_07_0930_未命名/meta.json"));
}

TEST_F(MeetingArchiveTest, WhenTheMoveFailsTheAnswersStillStand) {
    // No usual file system takes a name of more than 255 bytes; forty flags have 320.
    const QString note = u"🇹🇼"_s.repeated(40);
    EXPECT_EQ(finalize(MeetingAnswers{std::nullopt, {}, note}), stopped.folder);
    EXPECT_EQ(MeetingArchive::readMeta(stopped.folder).value().note, note);
    EXPECT_TRUE(warnings.isEmpty());
}

TEST_F(MeetingArchiveTest, APracticeTakeHasNoAnswersAndKeepsItsName) {
    stopped.practice = true;
    EXPECT_EQ(finalize(MeetingAnswers{u"週會"_s, {u"Ann"_s}, u"note"_s}), stopped.folder);
    const auto meta = MeetingArchive::readMeta(stopped.folder);
    ASSERT_TRUE(meta);
    EXPECT_EQ(meta->mode, u"practice"_s);
    EXPECT_EQ(meta->type, std::nullopt);
    EXPECT_EQ(meta->people, QStringList());
    EXPECT_EQ(meta->note, std::nullopt);
}

TEST_F(MeetingArchiveTest, ARecordThatCannotBeWrittenIsAWarningAndTheMoveGoesOn) {
    fs::create_directory(MeetingArchive::metaURL(stopped.folder));
    EXPECT_EQ(finalize(std::nullopt), meetings / "2025_03_07_0930_未命名");
    ASSERT_EQ(warnings.size(), 1);
    EXPECT_TRUE(warnings.front().startsWith(u"meta.json 寫不進去："));
    EXPECT_GT(warnings.front().size(), u"meta.json 寫不進去："_s.size());
}

TEST_F(MeetingArchiveTest, NobodyNeedsToHearTheWarning) {
    fs::create_directory(MeetingArchive::metaURL(stopped.folder));
    EXPECT_EQ(MeetingArchive::finalize(stopped, std::nullopt, {}, taipei), meetings / "2025_03_07_0930_未命名");
}

TEST_F(MeetingArchiveTest, AFolderThatHasGoneGivesAWarningAndItsOldPath) {
    fs::remove_all(stopped.folder);
    EXPECT_EQ(finalize(std::nullopt), stopped.folder);
    EXPECT_EQ(warnings.size(), 1);
}

TEST_F(MeetingArchiveTest, UnknownKeysGoWithTheWholeRecord) {
    ASSERT_TRUE(base::replaceFile(MeetingArchive::metaURL(stopped.folder), R"({"later": 1})"));
    const auto final = finalize(std::nullopt);
    EXPECT_FALSE(base::readFile(MeetingArchive::metaURL(final)).value().contains("later"));
}

} // namespace
