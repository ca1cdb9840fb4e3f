#include "jobs/FoldedMeeting.h"

#include "RandomWords.h"
#include "fakes/QtPrinters.h"
#include "fakes/TemporaryFolder.h"
#include "jobs/MeetingContent.h"

#include <gtest/gtest.h>

#include <fstream>

using namespace Qt::StringLiterals;
using jobs::FoldedMeeting;
namespace Content = jobs::MeetingContent;

namespace {

class FoldedMeetingTest : public testing::Test {
protected:
    void SetUp() override {
        record.folder = folder.path;
        record.note = u"Wéekly Sync"_s;
        record.people = {u"Ann"_s, u"José"_s};
    }

    void write(const char* name, const QByteArray& bytes) const {
        std::ofstream(folder / name, std::ios::binary).write(bytes.constData(), bytes.size());
    }

    [[nodiscard]] bool finds(QStringView query) const {
        return FoldedMeeting::read(record).matches(FoldedMeeting::words(query));
    }

    fakes::TemporaryFolder folder;
    store::MeetingRecord record;
};

TEST_F(FoldedMeetingTest, HoldsTheRecordAndAllItsFiles) {
    write("notes.md", "My NOTES");
    write("summary.json", R"({"conclusion": "Ship it."})");
    write("transcript.json", R"({"segments": [{"text": "Straße"}, {"text": "second"}]})");
    for (const QString& query : {u"weekly"_s, u"jose ann"_s, u"notes ship"_s, u"STRASSE"_s, u"second sync"_s, u" "_s}) {
        EXPECT_TRUE(finds(query)) << query.toStdString();
    }
    for (const QString& query : {u"weekly missing"_s, u"synced"_s, u"strassesecond"_s, u"\u0301"_s}) {
        EXPECT_FALSE(finds(query)) << query.toStdString();
    }
}

TEST_F(FoldedMeetingTest, SaysWhatIsThere) {
    EXPECT_FALSE(FoldedMeeting::read(record).hasTranscript);
    EXPECT_FALSE(FoldedMeeting::read(record).hasSummary);
    write("transcript.json", R"({"segments": [{"text": " \n "}, {"text": 5}]})");
    write("summary.json", "{");
    EXPECT_FALSE(FoldedMeeting::read(record).hasTranscript);
    EXPECT_FALSE(FoldedMeeting::read(record).hasSummary);
    write("transcript.json", R"({"segments": [{"text": " "}, {"text": "a"}]})");
    write("summary.json", "{}");
    EXPECT_TRUE(FoldedMeeting::read(record).hasTranscript);
    EXPECT_TRUE(FoldedMeeting::read(record).hasSummary);
    record.practice = true;
    EXPECT_FALSE(FoldedMeeting::read(record).hasSummary);
    write("coach.json", R"({"verdict": "Good."})");
    EXPECT_TRUE(FoldedMeeting::read(record).hasSummary);
}

TEST_F(FoldedMeetingTest, AnEditedRecordKeepsItsFiles) {
    write("notes.md", "notes");
    write("transcript.json", R"({"segments": [{"text": "spoken"}]})");
    const auto before = FoldedMeeting::read(record);
    record.note = u"Another"_s;
    EXPECT_EQ(before.withOwnTextOf(record), FoldedMeeting::read(record));
}

TEST_F(FoldedMeetingTest, OfARecordAloneOnlyItsOwnTextIsThere) {
    write("notes.md", "notes");
    const auto alone = FoldedMeeting::of(record);
    EXPECT_TRUE(alone.matches(FoldedMeeting::words(u"weekly ann")));
    EXPECT_FALSE(alone.matches(FoldedMeeting::words(u"notes")));
}

TEST_F(FoldedMeetingTest, MatchesWhatTheWholeTextMatches) {
    RandomWords random(1);
    int hits = 0;
    for (int i = 0; i < 300; ++i) {
        record.note = random.word(8);
        const QString notes = random.text(20);
        const QString spoken = random.text(20);
        write("notes.md", notes.toUtf8());
        write("transcript.json", base::writeJson(base::Json::Object{
                                     {u"segments"_s, base::Json::Array{base::Json::Object{{u"text"_s, spoken}}}}}));
        const auto whole = Content::searchText(record);
        const auto folded = FoldedMeeting::read(record);
        ASSERT_EQ(folded.hasTranscript, !whole.transcript().empty());
        for (int j = 0; j < 30; ++j) {
            const QString query = random.query(j % 2 == 0 ? notes : spoken);
            const bool matches = Content::matches(record, query, &whole);
            ASSERT_EQ(folded.matches(FoldedMeeting::words(query)), matches) << query.toStdString();
            hits += matches ? 1 : 0;
        }
    }
    EXPECT_GT(hits, 500);
}

} // namespace
