#include "jobs/MeetingSearch.h"

#include "base/MainScheduler.h"
#include "fakes/FakeFolderWatch.h"
#include "fakes/ManualScheduler.h"
#include "fakes/QtPrinters.h"
#include "fakes/TemporaryFolder.h"

#include <QCoreApplication>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using jobs::MeetingSearch;
using jobs::SearchBlock;
using jobs::SearchIndex;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using Flags = MeetingSearch::Flags;

namespace {

class MeetingSearchTest : public testing::Test {
protected:
    void SetUp() override { begin(); }

    void begin() {
        search = std::make_unique<MeetingSearch>(
            MeetingSearch::Parts{.dispatch = dispatch, .watch = [this](jobs::FolderWatch::Handlers handlers) {
                                     auto made = std::make_unique<fakes::FakeFolderWatch>(std::move(handlers));
                                     watch = made.get();
                                     return made;
                                 }});
        search->onChange = [this] { ++changes; };
    }

    store::MeetingRecord& meeting(const std::string& name, const QString& title = u"title"_s) {
        std::filesystem::create_directory(root / name);
        store::MeetingRecord record;
        record.folder = root / name;
        record.note = title;
        records.push_back(record);
        return records.back();
    }

    void write(const std::string& name, const char* file, const QByteArray& bytes) const {
        std::ofstream(root / name / file, std::ios::binary).write(bytes.constData(), bytes.size());
    }

    /// Gives the file the date that it had, as if it had been written within one tick of the clock.
    void writeUnseen(const std::string& name, const char* file, const QByteArray& bytes) const {
        const auto path = root / name / file;
        struct stat before{};
        ASSERT_EQ(::stat(path.c_str(), &before), 0);
        write(name, file, bytes);
        const timespec times[] = {before.st_atim, before.st_mtim};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    }

    /// Gives the file a date a second later: what is written at once can have the date of before.
    void writeLater(const std::string& name, const char* file, const QByteArray& bytes) const {
        write(name, file, bytes);
        struct stat now{};
        ASSERT_EQ(::stat((root / name / file).c_str(), &now), 0);
        now.st_mtim.tv_sec += 1;
        const timespec times[] = {now.st_atim, now.st_mtim};
        ASSERT_EQ(::utimensat(AT_FDCWD, (root / name / file).c_str(), times, 0), 0);
    }

    void setRecords() { search->setRecords(records); }

    void setRecordsAndRead() {
        setRecords();
        dispatch.runDue();
    }

    [[nodiscard]] std::vector<std::string> found(QStringView query) const {
        const auto matching = search->find(query);
        std::vector<std::string> names;
        for (const auto& record : records) {
            if (matching.has(record.folder)) {
                names.push_back(record.folder.filename());
            }
        }
        return names;
    }

    fakes::TemporaryFolder root;
    fakes::ManualDispatch dispatch;
    fakes::FakeFolderWatch* watch = nullptr;
    std::unique_ptr<MeetingSearch> search;
    std::vector<store::MeetingRecord> records;
    int changes = 0;
};

TEST_F(MeetingSearchTest, TitlesAreSearchedBeforeTheFilesAreRead) {
    meeting("a", u"Weekly"_s);
    write("a", "notes.md", "budget");
    setRecords();
    EXPECT_THAT(found(u"weekly"), ElementsAre("a"));
    EXPECT_THAT(found(u"budget"), IsEmpty());
    EXPECT_EQ(search->contentFlags(root / "a"), std::nullopt);
    EXPECT_TRUE(search->isReading());
    dispatch.runDue();
    EXPECT_THAT(found(u"budget"), ElementsAre("a"));
    EXPECT_THAT(search->contentFlags(root / "a"), Optional(Flags{false, false}));
    EXPECT_FALSE(search->isReading());
    EXPECT_EQ(changes, 1);
}

TEST_F(MeetingSearchTest, FlagsTellWhatIsThere) {
    meeting("a");
    meeting("b").practice = true;
    write("a", "transcript.json", R"({"segments": [{"text": "hi"}]})");
    write("b", "coach.json", R"({"verdict": "Good."})");
    setRecordsAndRead();
    EXPECT_THAT(search->contentFlags(root / "a"), Optional(Flags{true, false}));
    EXPECT_THAT(search->contentFlags(root / "b"), Optional(Flags{false, true}));
    EXPECT_EQ(search->contentFlags(root / "c"), std::nullopt);
}

TEST_F(MeetingSearchTest, AChangeThatIsToldIsReadOnceForAllThatAreToldTogether) {
    meeting("a");
    setRecordsAndRead();
    changes = 0;
    write("a", "notes.md", "budget");
    watch->handlers.onChange(root / "a", "notes.md");
    watch->handlers.onChange(root / "a", "notes.md");
    dispatch.advance(MeetingSearch::settleDelay / 2);
    EXPECT_FALSE(search->isReading());
    dispatch.advance(MeetingSearch::settleDelay / 2);
    EXPECT_THAT(found(u"budget"), ElementsAre("a"));
    EXPECT_EQ(changes, 1);
}

TEST_F(MeetingSearchTest, AChangeThatIsToldIsReadWhateverTheDate) {
    meeting("a");
    write("a", "notes.md", "before");
    setRecordsAndRead();
    writeUnseen("a", "notes.md", "after");
    watch->handlers.onChange(root / "a", "notes.md");
    dispatch.advance(MeetingSearch::settleDelay);
    EXPECT_THAT(found(u"after"), ElementsAre("a"));
}

TEST_F(MeetingSearchTest, OtherFilesAndOtherFoldersAreNoBusinessOfSearch) {
    meeting("a");
    setRecordsAndRead();
    watch->handlers.onChange(root / "a", "meta.json");
    watch->handlers.onChange(root / "b", "notes.md");
    EXPECT_EQ(dispatch.timeline().waiting(), 0U);
    for (const char* name : {"notes.md", "summary.json", "coach.json", "transcript.json"}) {
        watch->handlers.onChange(root / "a", name);
        EXPECT_EQ(dispatch.timeline().waiting(), 1U) << name;
        dispatch.advance(MeetingSearch::settleDelay);
    }
}

TEST_F(MeetingSearchTest, WhenChangesWereLostTheDatesAreLookedAt) {
    meeting("a");
    write("a", "notes.md", "before");
    setRecordsAndRead();
    writeLater("a", "notes.md", "after");
    watch->handlers.onLost();
    dispatch.runDue();
    EXPECT_THAT(found(u"after"), ElementsAre("a"));
}

TEST_F(MeetingSearchTest, WithTheSameDatesNothingIsReadAgain) {
    meeting("a");
    write("a", "notes.md", "before");
    setRecordsAndRead();
    changes = 0;
    writeUnseen("a", "notes.md", "after");
    setRecordsAndRead();
    EXPECT_THAT(found(u"before"), ElementsAre("a"));
    EXPECT_EQ(changes, 0);
}

TEST_F(MeetingSearchTest, NewRecordsAreAReasonToLookAtTheDates) {
    meeting("a");
    setRecordsAndRead();
    for (const char* name : {"notes.md", "transcript.json", "summary.json"}) {
        writeLater("a", name,
                   QByteArray(name) == "notes.md"          ? "one"
                   : QByteArray(name) == "transcript.json" ? R"({"segments": [{"text": "two"}]})"
                                                           : R"({"conclusion": "three"})");
        setRecordsAndRead();
    }
    EXPECT_THAT(found(u"one two three"), ElementsAre("a"));
    std::filesystem::remove(root / "a" / "notes.md");
    setRecordsAndRead();
    EXPECT_THAT(found(u"one"), IsEmpty());
    EXPECT_THAT(found(u"two"), ElementsAre("a"));
}

TEST_F(MeetingSearchTest, AnEditedRecordIsFoundAtOnce) {
    meeting("a", u"Before"_s);
    write("a", "notes.md", "notes");
    setRecordsAndRead();
    records.front().note = u"After"_s;
    setRecords();
    EXPECT_THAT(found(u"after notes"), ElementsAre("a"));
    EXPECT_THAT(found(u"before"), IsEmpty());
    dispatch.runDue();
    EXPECT_THAT(found(u"after notes"), ElementsAre("a"));
}

TEST_F(MeetingSearchTest, ARecordThatIsEditedWhileItsFilesAreReadKeepsTheEdit) {
    meeting("a", u"Before"_s);
    write("a", "notes.md", "notes");
    setRecords();
    records.front().note = u"After"_s;
    setRecords();
    dispatch.runDue();
    EXPECT_THAT(found(u"after notes"), ElementsAre("a"));
    EXPECT_THAT(found(u"before"), IsEmpty());
}

TEST_F(MeetingSearchTest, AMeetingThatBecomesAPracticeIsReadAnew) {
    meeting("a");
    write("a", "summary.json", R"({"conclusion": "summary"})");
    write("a", "coach.json", R"({"verdict": "advice"})");
    setRecordsAndRead();
    EXPECT_THAT(found(u"advice"), IsEmpty());
    records.front().practice = true;
    setRecordsAndRead();
    EXPECT_THAT(found(u"advice"), ElementsAre("a"));
    EXPECT_THAT(search->contentFlags(root / "a"), Optional(Flags{false, true}));
}

TEST_F(MeetingSearchTest, AMeetingThatIsGoneIsForgotten) {
    meeting("a");
    meeting("b");
    setRecordsAndRead();
    EXPECT_EQ(watch->watched.size(), 2U);
    records.pop_back();
    setRecords();
    EXPECT_EQ(search->index().size(), 1U);
    EXPECT_EQ(search->contentFlags(root / "b"), std::nullopt);
    dispatch.runDue();
    EXPECT_EQ(watch->watched.size(), 1U);
}

TEST_F(MeetingSearchTest, AMeetingThatGoesWhileItIsReadStaysForgotten) {
    meeting("a");
    setRecords();
    records.clear();
    setRecords();
    dispatch.runDue();
    EXPECT_EQ(search->index().size(), 0U);
    EXPECT_THAT(watch->watched, IsEmpty());
    EXPECT_FALSE(search->isReading());
}

TEST_F(MeetingSearchTest, WhereNothingCanBeWatchedEachQuestionIsAReasonToLook) {
    watch->canWatch = false;
    meeting("a");
    setRecordsAndRead();
    writeLater("a", "notes.md", "budget");
    EXPECT_THAT(found(u"budget"), IsEmpty());
    EXPECT_TRUE(search->isReading());
    static_cast<void>(found(u"budget")); // one look at a time
    changes = 0;
    dispatch.runDue();
    EXPECT_EQ(changes, 1);
    EXPECT_THAT(found(u"budget"), ElementsAre("a"));
    dispatch.runDue();
    EXPECT_EQ(changes, 1); // nothing was new, so nobody asks again
}

TEST_F(MeetingSearchTest, WhatIsWatchedIsNotLookedAtWithEachQuestion) {
    meeting("a");
    setRecordsAndRead();
    static_cast<void>(found(u"budget"));
    EXPECT_FALSE(search->isReading());
}

TEST_F(MeetingSearchTest, ManyMeetingsAreIndexed) {
    const std::size_t count = SearchBlock::mostMeetings + SearchIndex::fewTexts + 2;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string name = std::to_string(i);
        meeting(name);
        write(name, "notes.md", "common n" + QByteArray::number(static_cast<qulonglong>(i)));
    }
    setRecordsAndRead();
    EXPECT_TRUE(search->isSettled());
    EXPECT_EQ(search->index().newTexts(), 0U);
    EXPECT_EQ(found(u"common").size(), count);
    EXPECT_THAT(found(u"n1024"), ElementsAre("1024"));
    EXPECT_LT(changes, 5);
}

TEST_F(MeetingSearchTest, WhatChangesWhileABlockIsBuiltIsNotLost) {
    for (std::size_t i = 0; i <= SearchIndex::fewTexts; ++i) {
        meeting(std::to_string(i), u"title"_s);
        write(std::to_string(i), "notes.md", "before");
    }
    bool wasBuilding = false;
    search->onChange = [&] { // the flags are known, and the block is on its way
        search->onChange = {};
        wasBuilding = !search->isReading() && !search->isSettled();
        writeLater("3", "notes.md", "after");
        watch->handlers.onChange(root / "3", "notes.md");
        records[4].note = u"edited"_s;
        records.erase(records.begin() + 5);
        setRecords();
    };
    setRecordsAndRead();
    dispatch.advance(MeetingSearch::settleDelay);
    EXPECT_TRUE(wasBuilding);
    EXPECT_THAT(found(u"after"), ElementsAre("3"));
    EXPECT_THAT(found(u"edited before"), ElementsAre("4"));
    EXPECT_EQ(found(u"before").size(), SearchIndex::fewTexts - 1);
}

TEST_F(MeetingSearchTest, LettingGoWhileFilesAreReadIsSafe) {
    meeting("a");
    setRecords();
    watch->handlers.onChange(root / "a", "notes.md");
    search.reset();
    dispatch.advance(1);
    EXPECT_EQ(changes, 0);
}

TEST_F(MeetingSearchTest, RealThreadsComeToTheSameEnd) {
    int argumentCount = 1;
    char name[] = "test";
    char* arguments[] = {name, nullptr};
    QCoreApplication application(argumentCount, arguments);
    base::MainScheduler main;
    base::ThreadDispatch threads(main);
    MeetingSearch real({.dispatch = threads, .watch = [](jobs::FolderWatch::Handlers handlers) {
                            return std::make_unique<fakes::FakeFolderWatch>(std::move(handlers));
                        }});
    for (std::size_t i = 0; i <= 2 * SearchIndex::fewTexts; ++i) {
        meeting(std::to_string(i));
        write(std::to_string(i), "notes.md", "budget für 會議 " + QByteArray::number(static_cast<qulonglong>(i)));
    }
    real.setRecords(records);
    while (!real.isSettled()) {
        EXPECT_EQ(real.find(u"title").count(), records.size());
        if (records.size() > SearchIndex::fewTexts && !real.isReading()) { // once, while the index is built
            records.resize(SearchIndex::fewTexts);
            real.setRecords(records);
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    EXPECT_EQ(real.find(u"FUR 會議 budget").count(), SearchIndex::fewTexts);
    EXPECT_EQ(real.index().size(), SearchIndex::fewTexts);
}

TEST_F(MeetingSearchTest, ItsQueuesAreOfLowPriority) {
    EXPECT_THAT(dispatch.madeQueues,
                ElementsAre(testing::Pair("com.orvane.tarvex.search", base::Priority::Utility),
                            testing::Pair("com.orvane.tarvex.search.index", base::Priority::Utility)));
}

} // namespace
