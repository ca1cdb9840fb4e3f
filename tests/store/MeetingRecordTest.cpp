#include "store/MeetingRecord.h"

#include "fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using store::MeetingRecord;

namespace {

const QDateTime start(QDate(2025, 3, 7), QTime(1, 30), Qt::UTC);
constexpr qint64 sevenDays = 604800;

MeetingRecord weekly() {
    MeetingRecord record;
    record.note = u"Weekly sync"_s;
    record.people = {u"Ann"_s, u"José"_s};
    return record;
}

TEST(MeetingRecordTest, TheTitleIsTheNote) {
    EXPECT_EQ(weekly().title(), u"Weekly sync"_s);
    EXPECT_EQ(MeetingRecord().title(), u"未命名"_s);
}

TEST(MeetingRecordTest, EveryFileStandsInTheFolder) {
    MeetingRecord record;
    record.folder = "/m/x";
    EXPECT_EQ(record.micURL(), "/m/x/mic.m4a");
    EXPECT_EQ(record.systemURL(), "/m/x/system.m4a");
    EXPECT_EQ(record.notesURL(), "/m/x/notes.md");
    EXPECT_EQ(record.metaURL(), "/m/x/meta.json");
    EXPECT_EQ(record.shotsURL(), "/m/x/shots");
    EXPECT_EQ(record.transcriptURL(), "/m/x/transcript.json");
    EXPECT_EQ(record.summaryURL(), "/m/x/summary.json");
    EXPECT_EQ(record.coachURL(), "/m/x/coach.json");
}

TEST(MeetingRecordTest, EachWordMayStandInAnotherField) {
    EXPECT_TRUE(weekly().matches(u"ann weekly"));
    EXPECT_TRUE(weekly().matches(u"SYNC"));
    EXPECT_TRUE(weekly().matches(u"eekl"));
    EXPECT_FALSE(weekly().matches(u"ann monthly"));
}

TEST(MeetingRecordTest, AccentsMakeNoDifference) {
    EXPECT_TRUE(weekly().matches(u"jose"));
    EXPECT_TRUE(weekly().matches(u"wéekly"));
}

TEST(MeetingRecordTest, AQueryWithoutWordsMatchesEverything) {
    EXPECT_TRUE(weekly().matches(u""));
    EXPECT_TRUE(weekly().matches(u" \t\u3000\n"));
    EXPECT_TRUE(MeetingRecord().matches(u"  "));
}

TEST(MeetingRecordTest, AMeetingWithoutANoteIsFoundByItsTitle) {
    EXPECT_TRUE(MeetingRecord().matches(u"未命名"));
    EXPECT_FALSE(weekly().matches(u"未命名"));
}

TEST(MeetingRecordTest, AWordDoesNotReachOverTwoFields) {
    EXPECT_FALSE(weekly().matches(u"syncann"));
    EXPECT_TRUE(weekly().matches(u"sync\u3000ann"));
}

TEST(MeetingRecordTest, AudioExpiresAfterSevenDaysFromTheStart) {
    MeetingRecord record;
    EXPECT_FALSE(record.audioExpired(start.addYears(9)));
    record.start = start;
    EXPECT_FALSE(record.audioExpired(start.addSecs(sevenDays)));
    EXPECT_TRUE(record.audioExpired(start.addSecs(sevenDays).addMSecs(1)));
}

TEST(MeetingRecordTest, ShotsHaveExpiredWhenTheirTimeIsOverAndTheirFolderGone) {
    const fakes::TemporaryFolder folder;
    const QDateTime over = start.addSecs(sevenDays + 1);
    MeetingRecord record;
    record.folder = folder.path;
    EXPECT_FALSE(record.shotsExpired(over));
    record.start = start;
    EXPECT_TRUE(record.shotsExpired(over));
    EXPECT_FALSE(record.shotsExpired(start.addSecs(sevenDays)));
    record.screenshotsEnabled = false;
    EXPECT_FALSE(record.shotsExpired(over));
    record.screenshotsEnabled = true;
    std::filesystem::create_directory(record.shotsURL());
    EXPECT_FALSE(record.shotsExpired(over));
}

} // namespace
