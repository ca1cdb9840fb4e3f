#include "jobs/MeetingContent.h"

#include "copy/MainCopy.h"
#include "fakes/QtPrinters.h"
#include "fakes/TemporaryFolder.h"

#include <QRandomGenerator>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using base::TextSearch::Range;
using jobs::MeetingContent::SearchText;
using jobs::MeetingContent::Snippet;
using testing::Optional;
namespace Content = jobs::MeetingContent;

namespace {

ai::Transcript::Segment said(double start, const QString& text) {
    return {.start = start, .end = start + 1, .speaker = ai::Transcript::me, .text = text};
}

store::MeetingRecord recordWith(const QString& note, const QStringList& people = {}) {
    store::MeetingRecord record;
    record.note = note;
    record.people = people;
    return record;
}

// --- Reading

class MeetingContentReadTest : public testing::Test {
protected:
    void SetUp() override { record.folder = folder.path; }

    void write(const char* name, const QByteArray& bytes) const {
        ASSERT_TRUE(base::replaceFile(folder / name, bytes));
    }

    fakes::TemporaryFolder folder;
    store::MeetingRecord record;
};

TEST_F(MeetingContentReadTest, AMissingFileIsNone) {
    EXPECT_TRUE(Content::summary(record).isNone());
    EXPECT_TRUE(Content::coach(record).isNone());
    EXPECT_TRUE(Content::transcript(record).isNone());
}

TEST_F(MeetingContentReadTest, AFileThatIsUnderstoodIsReady) {
    write("summary.json", R"({"conclusion": "Done."})");
    write("coach.json", R"({"verdict": "Good."})");
    write("transcript.json", R"({"segments": [{"text": "hi"}]})");
    EXPECT_EQ(Content::summary(record).value()->conclusion, u"Done."_s);
    EXPECT_EQ(Content::coach(record).value()->verdict, u"Good."_s);
    EXPECT_EQ(Content::transcript(record).value()->segments.front().text, u"hi"_s);
}

TEST_F(MeetingContentReadTest, AFileThatIsNotUnderstoodIsBroken) {
    for (const char* bytes : {"", "{", "[]", "\"text\"", "\xFF\xFE"}) {
        write("summary.json", bytes);
        write("coach.json", bytes);
        write("transcript.json", bytes);
        EXPECT_TRUE(Content::summary(record).isBroken()) << bytes;
        EXPECT_TRUE(Content::coach(record).isBroken()) << bytes;
        EXPECT_TRUE(Content::transcript(record).isBroken()) << bytes;
    }
}

TEST_F(MeetingContentReadTest, AFileThatCantBeReadIsNone) {
    // A folder in its place and a dangling link can't be read whoever runs this; the mode means nothing to root.
    std::filesystem::create_directory(folder / "summary.json");
    std::filesystem::create_symlink("nowhere", folder / "coach.json");
    write("transcript.json", "{");
    ::chmod((folder / "transcript.json").c_str(), 0);
    EXPECT_TRUE(Content::summary(record).isNone());
    EXPECT_TRUE(Content::coach(record).isNone());
    if (::geteuid() != 0) {
        EXPECT_TRUE(Content::transcript(record).isNone());
    }
    ::chmod((folder / "transcript.json").c_str(), 0600);
    EXPECT_TRUE(Content::transcript(record).isBroken());
}

TEST_F(MeetingContentReadTest, AMeetingIsSearchedInNotesSummaryAndTranscript) {
    write("notes.md", "my notes");
    write("summary.json", R"({"conclusion": "Ship it."})");
    write("coach.json", R"({"verdict": "Slow down."})");
    write("transcript.json", R"({"segments": [{"text": "second", "start": 2}, {"text": "first", "start": 1}]})");
    const SearchText text = Content::searchText(record);
    EXPECT_EQ(text.notes(), u"my notes"_s);
    EXPECT_EQ(text.summary(), Content::summary(record).value()->plainText(copy::MainCopy::current()));
    ASSERT_EQ(text.transcript().size(), 2U);
    EXPECT_EQ(text.haystack(), QString(u"my notes\n"_s + text.summary() + u"\nfirst\nsecond"_s));
}

TEST_F(MeetingContentReadTest, APracticeTakeIsSearchedInItsAdvice) {
    write("summary.json", R"({"conclusion": "Ship it."})");
    write("coach.json", R"({"verdict": "Slow down."})");
    record.practice = true;
    EXPECT_EQ(Content::searchText(record).summary(), u"Slow down."_s);
}

TEST_F(MeetingContentReadTest, WhatIsBrokenIsSearchedAsEmpty) {
    EXPECT_EQ(Content::searchText(record).haystack(), u"\n\n"_s);
    write("summary.json", "{");
    write("coach.json", "{");
    write("transcript.json", "[]");
    write("notes.md", "\xFF");
    EXPECT_EQ(Content::searchText(record), SearchText());
    record.practice = true;
    EXPECT_EQ(Content::searchText(record), SearchText());
}

// --- Staleness

class StaleTest : public testing::Test {
protected:
    [[nodiscard]] bool isStaleAfter(qint64 milliseconds) const {
        ai::MeetingSummary summary;
        summary.transcriptGeneratedAt = moment;
        ai::Transcript transcript;
        transcript.generatedAt = moment.addMSecs(milliseconds);
        return Content::isStale(summary, transcript);
    }

    QDateTime moment = QDateTime(QDate(2025, 3, 7), QTime(9, 0), Qt::UTC);
};

TEST_F(StaleTest, ATranscriptASecondAwayIsAnotherOne) {
    EXPECT_TRUE(isStaleAfter(1000));
    EXPECT_TRUE(isStaleAfter(-1000));
    EXPECT_FALSE(isStaleAfter(999));
    EXPECT_FALSE(isStaleAfter(-999));
    EXPECT_FALSE(isStaleAfter(500));
    EXPECT_FALSE(isStaleAfter(0));
}

TEST_F(StaleTest, AMissingDateProvesNothing) {
    ai::MeetingSummary summary;
    ai::Transcript transcript;
    transcript.generatedAt = moment;
    EXPECT_FALSE(Content::isStale(summary, transcript));
    summary.transcriptGeneratedAt = moment.addDays(1);
    EXPECT_TRUE(Content::isStale(summary, transcript));
    EXPECT_FALSE(Content::isStale(summary, std::nullopt));
    transcript.generatedAt.reset();
    EXPECT_FALSE(Content::isStale(summary, transcript));
}

// --- Matching

TEST(MeetingContentTest, CaseAndAccentsMakeNoDifference) {
    const SearchText text(u"at the Café"_s, {}, {});
    EXPECT_TRUE(Content::matches(recordWith(u"x"_s), u"cafe", &text));
    const SearchText plain(u"at the cafe"_s, {}, {});
    EXPECT_TRUE(Content::matches(recordWith(u"x"_s), u"CAFE", &plain));
    EXPECT_TRUE(Content::matches(recordWith(u"Café"_s), u"cafe", nullptr));
}

TEST(MeetingContentTest, AWordMayBePartOfAnother) {
    const SearchText text(u"the weekly sync"_s, {}, {});
    EXPECT_TRUE(Content::matches(recordWith(u"x"_s), u"eekl", &text));
    EXPECT_FALSE(Content::matches(recordWith(u"x"_s), u"weeklysync", &text));
}

TEST(MeetingContentTest, EveryWordMustHitWhereverItIs) {
    const SearchText text(u"notes"_s, u"summary"_s, {said(0, u"spoken"_s)});
    const auto record = recordWith(u"title"_s, {u"Ann"_s});
    EXPECT_TRUE(Content::matches(record, u"notes summary spoken title ann", &text));
    EXPECT_FALSE(Content::matches(record, u"notes missing", &text));
}

TEST(MeetingContentTest, WithoutATextOnlyTheRecordIsSearched) {
    const SearchText text(u"notes"_s, {}, {});
    EXPECT_FALSE(Content::matches(recordWith(u"title"_s), u"notes", nullptr));
    EXPECT_TRUE(Content::matches(recordWith(u"title"_s), u"title", nullptr));
    EXPECT_TRUE(Content::matches(store::MeetingRecord(), u"未命名", nullptr));
}

TEST(MeetingContentTest, AQueryOfBlanksMatchesEverythingAndShowsNothing) {
    const SearchText text(u"a b"_s, {}, {});
    for (const QString& query : {u""_s, u"   "_s, u"\t\n\u3000"_s}) {
        EXPECT_TRUE(Content::matches(recordWith(u"x"_s), query, &text));
        EXPECT_TRUE(Content::matches(recordWith(u"x"_s), query, nullptr));
        EXPECT_EQ(Content::snippet(recordWith(u"x"_s), query, &text), std::nullopt);
    }
}

TEST(MeetingContentTest, AWordOfWhichNothingIsLeftIsNotFound) {
    const SearchText text(u"a\u0301"_s, {}, {});
    EXPECT_FALSE(Content::matches(recordWith(u"x"_s), u"\u0301", &text));
    EXPECT_EQ(Content::snippet(recordWith(u"x"_s), u"\u0301", &text), std::nullopt);
}

// --- Snippets

TEST(SnippetTest, ShowsTheWordThatTheRowDoesNotShow) {
    const SearchText text({}, {}, {said(3, u"hello"_s), said(7.5, u"the budget"_s), said(9, u"budget again"_s)});
    const auto record = recordWith(u"Weekly"_s);
    EXPECT_TRUE(Content::matches(record, u"weekly budget", &text));
    EXPECT_THAT(Content::snippet(record, u"weekly budget", &text), Optional(Snippet{u"the budget"_s, {4, 6}, 7.5}));
}

TEST(SnippetTest, IsNotThereWhenTheRowShowsEveryWord) {
    const SearchText text({}, {}, {said(3, u"weekly sync"_s)});
    const auto record = recordWith(u"Weekly sync"_s);
    EXPECT_TRUE(Content::matches(record, u"weekly sync", &text));
    EXPECT_EQ(Content::snippet(record, u"weekly sync", &text), std::nullopt);
}

TEST(SnippetTest, PeopleAreShownByTheRowToo) {
    const SearchText text({}, {}, {said(3, u"Ann says hello"_s)});
    EXPECT_EQ(Content::snippet(recordWith(u"x"_s, {u"Ann"_s}), u"ann", &text), std::nullopt);
}

TEST(SnippetTest, TheTranscriptComesBeforeNotesAndSummary) {
    const auto record = recordWith(u"x"_s);
    const SearchText all(u"budget n"_s, u"budget s"_s, {said(2, u"budget t"_s)});
    EXPECT_THAT(Content::snippet(record, u"budget", &all), Optional(Snippet{u"budget t"_s, {0, 6}, 2.0}));
    const SearchText written(u"budget n"_s, u"budget s"_s, {said(2, u"other"_s)});
    EXPECT_THAT(Content::snippet(record, u"budget", &written), Optional(Snippet{u"budget n"_s, {0, 6}, {}}));
    const SearchText summarized(u"other"_s, u"budget s"_s, {});
    EXPECT_THAT(Content::snippet(record, u"budget", &summarized), Optional(Snippet{u"budget s"_s, {0, 6}, {}}));
}

TEST(SnippetTest, AWordWithoutAHitLeavesItToTheNext) {
    const SearchText text({}, {}, {said(2, u"the budget"_s)});
    EXPECT_THAT(Content::snippet(recordWith(u"x"_s), u"missing budget", &text),
                Optional(Snippet{u"the budget"_s, {4, 6}, 2.0}));
    EXPECT_EQ(Content::snippet(recordWith(u"x"_s), u"missing", &text), std::nullopt);
}

TEST(SnippetTest, TheFirstWordOfTheQueryDecides) {
    const SearchText text(u"later"_s, {}, {said(2, u"sooner"_s)});
    EXPECT_THAT(Content::snippet(recordWith(u"x"_s), u"later sooner", &text),
                Optional(Snippet{u"later"_s, {0, 5}, {}}));
}

TEST(SnippetTest, WithoutATextThereIsNone) {
    EXPECT_EQ(Content::snippet(recordWith(u"x"_s), u"budget", nullptr), std::nullopt);
}

TEST(SnippetTest, TheRadiusIsTwentyUnlessTold) {
    const SearchText text(QString(u"-"_s.repeated(30) + u"hit"_s + u"-"_s.repeated(30)), {}, {});
    const auto usual = Content::snippet(recordWith(u"x"_s), u"hit", &text);
    ASSERT_TRUE(usual);
    EXPECT_EQ(usual->text, QString(u"…"_s + u"-"_s.repeated(20) + u"hit"_s + u"-"_s.repeated(20) + u"…"_s));
    EXPECT_EQ(Content::snippet(recordWith(u"x"_s), u"hit", &text, 1)->text, u"…-hit-…"_s);
}

// --- Cutting

TEST(CutTest, AHitAtTheVeryStartHasNothingBefore) {
    const auto cut = Content::cut(u"budget is fine", u"budget", 20);
    EXPECT_THAT(cut, Optional(Content::Cut{u"budget is fine"_s, {0, 6}}));
}

TEST(CutTest, DotsStandWhereSomethingIsLeftOut) {
    const auto at = [](qsizetype before, qsizetype after) {
        return Content::cut(QString(u"-"_s.repeated(before) + u"hit"_s + u"-"_s.repeated(after)), u"hit", 20).value();
    };
    EXPECT_EQ(at(5, 5).text, u"-----hit-----"_s);
    EXPECT_EQ(at(5, 5).hit, (Range{5, 3}));
    EXPECT_EQ(at(20, 20).text.size(), 43);
    EXPECT_EQ(at(20, 20).hit, (Range{20, 3}));
    EXPECT_EQ(at(21, 0).text, QString(u"…"_s + u"-"_s.repeated(20) + u"hit"_s));
    EXPECT_EQ(at(21, 0).hit, (Range{21, 3}));
    EXPECT_EQ(at(25, 0).hit, (Range{21, 3}));
    EXPECT_EQ(at(0, 21).text, QString(u"hit"_s + u"-"_s.repeated(20) + u"…"_s));
    EXPECT_EQ(at(25, 25).text.size(), 45);
}

TEST(CutTest, ARadiusOfNothingLeavesTheHit) {
    EXPECT_THAT(Content::cut(u"a hit b", u"hit", 0), Optional(Content::Cut{u"…hit…"_s, {1, 3}}));
    EXPECT_THAT(Content::cut(u"hit", u"hit", 0), Optional(Content::Cut{u"hit"_s, {0, 3}}));
}

TEST(CutTest, NewlinesAroundTheHitBecomeBlanks) {
    EXPECT_THAT(Content::cut(u"one\ntwo\nthree", u"two", 20), Optional(Content::Cut{u"one two three"_s, {4, 3}}));
    EXPECT_THAT(Content::cut(u"one\ntwo", u"one\ntwo", 20), Optional(Content::Cut{u"one two"_s, {0, 7}}));
}

TEST(CutTest, PlacesAreUnitsAndTheRadiusIsCharacters) {
    const auto cut = Content::cut(u"👩‍👧👩‍👧👩‍👧hit👩‍👧👩‍👧", u"hit", 2);
    EXPECT_THAT(cut, Optional(Content::Cut{u"…👩‍👧👩‍👧hit👩‍👧👩‍👧"_s, {11, 3}}));
}

TEST(CutTest, TheHitIsTheTextAsItStands) {
    EXPECT_THAT(Content::cut(u"the re\u0301sume\u0301.", u"RESUME", 20),
                Optional(Content::Cut{u"the re\u0301sume\u0301."_s, {4, 8}}));
}

TEST(CutTest, WithoutAHitThereIsNothing) {
    EXPECT_EQ(Content::cut(u"abc", u"x", 20), std::nullopt);
    EXPECT_EQ(Content::cut(u"abc", u"", 20), std::nullopt);
    EXPECT_EQ(Content::cut(u"", u"x", 20), std::nullopt);
}

TEST(CutTest, HalvesOfPairsAndStormsOfMarksAreCutLikeAnyText) {
    const QString half(QChar(0xDC00));
    EXPECT_TRUE(Content::cut(QString(half + u"hit"_s + half), u"hit", 20));
    const QString storm = u"e"_s + QString(100'000, u'\u0301');
    const auto cut = Content::cut(QString(storm + u"hit"_s), u"hit", 1);
    ASSERT_TRUE(cut);
    EXPECT_EQ(cut->hit, (Range{storm.size(), 3}));
}

} // namespace
