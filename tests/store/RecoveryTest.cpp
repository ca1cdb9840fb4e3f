#include "store/Recovery.h"

#include "fakes/ManualScheduler.h"
#include "fakes/ScopedVariable.h"
#include "fakes/TemporaryFolder.h"
#include "store/MeetingArchive.h"
#include "store/RecordingLock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace store;
namespace fs = std::filesystem;

namespace {

const QTimeZone taipei("Asia/Taipei");
const QDateTime start(QDate(2025, 3, 7), QTime(1, 30, 12), Qt::UTC); // 09:30:12 in Taipei
const QDateTime crash = start.addMSecs(90'250);

bool nobody(const fs::path& /*folder*/) {
    return false;
}

/// Sound is a text of the seconds it lasts: an empty CAF has none, and "broken" can't be read.
class RecoveryTest : public testing::Test {
protected:
    fakes::TemporaryFolder root;
    fakes::ScopedVariable home{"TARVEX_HOME", root.path.string()};
    const fs::path meetings = root / "Meetings";
    fakes::ManualWallClock clock;
    std::vector<fs::path> converted;

    fs::path make(const fs::path& name) const {
        fs::create_directories(meetings / name / "shots");
        return meetings / name;
    }

    static void put(const fs::path& path, const QByteArray& bytes, const QDateTime& modified = crash) {
        ASSERT_TRUE(base::replaceFile(path, bytes));
        touch(path, modified);
    }

    static void touch(const fs::path& path, const QDateTime& modified) {
        const timespec stamp{modified.toSecsSinceEpoch(), (modified.toMSecsSinceEpoch() % 1000) * 1'000'000};
        const timespec both[2] = {stamp, stamp};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), both, AT_SYMLINK_NOFOLLOW), 0);
    }

    static void putMeta(const fs::path& folder, const MeetingMeta& meta) {
        ASSERT_TRUE(MeetingArchive::writeMeta(meta, folder));
    }

    [[nodiscard]] static MeetingMeta started() { return MeetingMeta::started(start, true, std::nullopt, taipei); }

    std::expected<double, ConvertFailure> convert(const fs::path& caf, const fs::path& m4a) {
        converted.push_back(caf);
        const auto bytes = base::readFile(caf);
        if (!bytes) {
            return std::unexpected(ConvertFailure{std::nullopt, bytes.error().text});
        }
        if (bytes->isEmpty()) {
            return std::unexpected(ConvertFailure{ConvertError::Empty, u"no audio in the file"_s});
        }
        if (*bytes == "broken") {
            return std::unexpected(ConvertFailure{std::nullopt, u"not a sound"_s});
        }
        EXPECT_TRUE(base::replaceFile(m4a, *bytes));
        return bytes->toDouble();
    }

    std::vector<Recovery::Outcome> run(const Recovery::IsLive& isLive = nobody) {
        return Recovery::run(
            meetings, isLive, [this](const fs::path& caf, const fs::path& m4a) { return convert(caf, m4a); }, clock);
    }

    [[nodiscard]] MeetingLibrary::FolderSet pending(const Recovery::IsLive& isLive = nobody) const {
        return Recovery::pending(meetings, isLive);
    }

    static MeetingMeta metaOf(const fs::path& folder) {
        return MeetingArchive::readMeta(folder).value_or(MeetingMeta());
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

TEST_F(RecoveryTest, ACrashedRecordingBecomesAMeetingWithoutAnswers) {
    const auto folder = make("2025_03_07_0930");
    putMeta(folder, started());
    put(folder / "mic.caf", "89.96", crash.addSecs(-1));
    put(folder / "system.caf", "90.04", crash);

    const auto healed = meetings / "2025_03_07_0930_未命名";
    EXPECT_THAT(run(),
                testing::ElementsAre(Recovery::Outcome{
                    .folder = healed, .tracks = {{u"mic"_s, 89.96}, {u"system"_s, 90.04}}, .metaWritten = true}));
    EXPECT_THAT(names(healed), testing::ElementsAre("meta.json", "mic.m4a", "shots", "system.m4a"));
    MeetingMeta expected = started();
    expected.end = u"2025-03-07T09:31:42+08:00"_s;
    expected.duration = 90.0;
    EXPECT_EQ(metaOf(healed), expected);
    EXPECT_TRUE(pending().isEmpty());
    EXPECT_TRUE(run().empty());
}

TEST_F(RecoveryTest, ACrashDuringTheConversionAtStopLeavesTheRecordAsItIs) {
    const auto folder = make("2025_03_07_0930");
    putMeta(folder, MeetingMeta::make(start, crash, 90.2, std::nullopt, true, std::nullopt, taipei));
    const auto meta = base::readFile(folder / "meta.json");
    put(folder / "mic.m4a", "90");
    put(folder / "system.caf", "90", crash.addSecs(500));

    const auto healed = meetings / "2025_03_07_0930_未命名";
    EXPECT_THAT(run(), testing::ElementsAre(Recovery::Outcome{.folder = healed, .tracks = {{u"system"_s, 90}}}));
    EXPECT_EQ(base::readFile(healed / "meta.json"), meta);
    EXPECT_THAT(names(healed), testing::ElementsAre("meta.json", "mic.m4a", "shots", "system.m4a"));
}

TEST_F(RecoveryTest, ACollisionNumberStaysBeforeTheSuffix) {
    const auto folder = make("2025_03_07_0930_2");
    putMeta(folder, started());
    EXPECT_EQ(run().front().folder, meetings / "2025_03_07_0930_2_未命名");
}

TEST_F(RecoveryTest, ATakenNameGetsTheFirstFreeNumber) {
    make("2025_03_07_0930_未命名");
    make("2025_03_07_0930_未命名_2");
    putMeta(make("2025_03_07_0930"), started());
    EXPECT_EQ(run().front().folder, meetings / "2025_03_07_0930_未命名_3");
}

TEST_F(RecoveryTest, APracticeWithoutARecordGetsOneAndKeepsItsName) {
    const auto folder = make("2025_03_07_0930_練習");
    put(folder / "mic.caf", "30");
    EXPECT_EQ(run().front().folder, folder);
    EXPECT_EQ(metaOf(folder).mode, u"practice"_s);
    EXPECT_EQ(metaOf(folder).start, u"2025-03-07T09:30:00+08:00"_s);
    EXPECT_EQ(metaOf(folder).duration, 30);
}

TEST_F(RecoveryTest, ANameWithANoteIsLeftAlone) {
    const auto folder = make("2025_03_07_0930_weekly");
    putMeta(folder, started());
    EXPECT_EQ(run().front().folder, folder);
}

TEST_F(RecoveryTest, WithoutARecordAndACafNothingIsTouched) {
    make("2025_03_07_0930");
    put(make("2025_03_07_0931") / "meta.json", "damaged");
    put(make("2025_03_07_0932") / "meta.json", R"({"end": null})"); // not all that the strict reader asks for
    EXPECT_TRUE(pending().isEmpty());
    EXPECT_TRUE(run().empty());
    EXPECT_THAT(names(meetings), testing::ElementsAre("2025_03_07_0930", "2025_03_07_0931", "2025_03_07_0932"));
}

TEST_F(RecoveryTest, ACompleteMeetingIsNeverTouched) {
    const auto folder = make("2025_03_07_0930");
    putMeta(folder, MeetingMeta::make(start, crash, 90.2, std::nullopt, true, std::nullopt, taipei));
    EXPECT_TRUE(pending().isEmpty());
    EXPECT_TRUE(run().empty());
    EXPECT_TRUE(fs::exists(folder));
}

TEST_F(RecoveryTest, AnEmptyEndIsNoEnd) {
    const auto folder = make("2025_03_07_0930");
    auto meta = started();
    meta.end = u""_s;
    putMeta(folder, meta);
    EXPECT_EQ(pending(), MeetingLibrary::FolderSet{base::pathText(folder)});
    EXPECT_TRUE(run().front().metaWritten);
}

TEST_F(RecoveryTest, WhatIsPendingIsWhatWillBeHealed) {
    putMeta(make("a"), started());
    put(make("b") / "mic.caf", "1");
    put(make("c") / "system.caf", "");
    make("d");
    put(make(".hidden") / "mic.caf", "1");
    put(meetings / "mic.caf", "1");
    const fakes::TemporaryFolder elsewhere;
    put(elsewhere / "mic.caf", "1");
    fs::create_directory_symlink(elsewhere.path, meetings / "link");

    EXPECT_EQ(pending(), (MeetingLibrary::FolderSet{base::pathText(meetings / "a"), base::pathText(meetings / "b"),
                                                    base::pathText(meetings / "c")}));
    std::vector<std::string> healed;
    for (const auto& outcome : run()) {
        healed.push_back(outcome.folder.filename().string());
    }
    EXPECT_THAT(healed, testing::ElementsAre("a", "b", "c"));
    EXPECT_TRUE(fs::exists(elsewhere / "mic.caf"));
}

TEST_F(RecoveryTest, PendingPathsAreStandardized) {
    put(make("a") / "mic.caf", "1");
    EXPECT_EQ(Recovery::pending(root / "Meetings/../Meetings/", nobody),
              MeetingLibrary::FolderSet{base::pathText(meetings / "a")});
}

TEST_F(RecoveryTest, AFolderThatIsRecordedIntoIsSkipped) {
    const auto live = make("2025_03_07_0930");
    put(live / "mic.caf", "1");
    put(make("2025_03_07_0931") / "mic.caf", "1");
    const auto isLive = [&live](const fs::path& folder) { return folder == live; };
    EXPECT_EQ(pending(isLive), MeetingLibrary::FolderSet{base::pathText(meetings / "2025_03_07_0931")});
    EXPECT_EQ(run(isLive).size(), 1U);
    EXPECT_THAT(names(live), testing::ElementsAre("mic.caf", "shots"));
}

TEST_F(RecoveryTest, ARecordingThatBeganAfterPendingIsSkippedToo) {
    const auto folder = make("2025_03_07_0930");
    put(folder / "mic.caf", "1");
    EXPECT_FALSE(pending().isEmpty());
    ASSERT_TRUE(RecordingLock::write(folder));
    EXPECT_TRUE(run([](const fs::path& asked) { return RecordingLock::isLive(asked); }).empty());
    EXPECT_TRUE(converted.empty());
}

TEST_F(RecoveryTest, ATrackWithoutAFrameIsNoFailureAndComesUpAgain) {
    const auto folder = make("2025_03_07_0930");
    putMeta(folder, started());
    put(folder / "mic.caf", "90.04");
    put(folder / "system.caf", "");

    const auto outcomes = run();
    const auto healed = meetings / "2025_03_07_0930_未命名";
    EXPECT_THAT(outcomes, testing::ElementsAre(
                              Recovery::Outcome{.folder = healed, .tracks = {{u"mic"_s, 90.04}}, .metaWritten = true}));
    EXPECT_THAT(names(healed), testing::ElementsAre("meta.json", "mic.m4a", "shots", "system.caf"));
    EXPECT_EQ(pending(), MeetingLibrary::FolderSet{base::pathText(healed)});
    EXPECT_THAT(run(), testing::ElementsAre(Recovery::Outcome{.folder = healed}));
    EXPECT_EQ(metaOf(healed).duration, 90.0);
}

TEST_F(RecoveryTest, AFailedConversionKeepsTheCafAndCompletesTheRecord) {
    const auto folder = make("2025_03_07_0930");
    putMeta(folder, started());
    put(folder / "mic.caf", "broken");
    put(folder / "system.caf", "80");

    const auto outcomes = run();
    const auto healed = meetings / "2025_03_07_0930_未命名";
    EXPECT_THAT(outcomes, testing::ElementsAre(Recovery::Outcome{.folder = healed,
                                                                 .tracks = {{u"system"_s, 80}},
                                                                 .failures = {u"mic: not a sound"_s},
                                                                 .metaWritten = true}));
    EXPECT_THAT(names(healed), testing::ElementsAre("meta.json", "mic.caf", "shots", "system.m4a"));
    EXPECT_EQ(metaOf(healed).duration, 80);
}

TEST_F(RecoveryTest, TheMicrophoneComesFirst) {
    const auto folder = make("a");
    put(folder / "system.caf", "1");
    put(folder / "mic.caf", "1");
    std::ignore = run();
    EXPECT_THAT(converted, testing::ElementsAre(folder / "mic.caf", folder / "system.caf"));
}

TEST_F(RecoveryTest, FoldersAreHealedByName) {
    put(make("b") / "mic.caf", "1");
    put(make("a") / "mic.caf", "1");
    put(make("c") / "mic.caf", "1");
    std::ignore = run();
    EXPECT_THAT(converted,
                testing::ElementsAre(meetings / "a/mic.caf", meetings / "b/mic.caf", meetings / "c/mic.caf"));
}

// Dates

TEST_F(RecoveryTest, TheEndIsTheLatestDateOfACaf) {
    const auto folder = make("a");
    putMeta(folder, started());
    put(folder / "mic.caf", "1", crash);
    put(folder / "system.caf", "1", crash.addSecs(-5));
    put(folder / "notes.md", "later", crash.addSecs(500));
    std::ignore = run();
    EXPECT_EQ(metaOf(folder).end, MeetingMeta::timestamp(crash, taipei));
}

TEST_F(RecoveryTest, WithoutACafTheEndIsTheLatestDateInTheFolder) {
    const auto folder = make("a");
    putMeta(folder, started());
    touch(folder / "meta.json", start);
    put(folder / "mic.m4a", "1", crash);
    touch(folder / "shots", crash.addSecs(10));
    put(folder / ".meta.json.1-2.tmp", "left by a kill", crash.addSecs(500));
    std::ignore = run();
    EXPECT_EQ(metaOf(folder).end, MeetingMeta::timestamp(crash.addSecs(10), taipei));
    EXPECT_EQ(metaOf(folder).duration, 100.3); // 90.25 and 10 seconds
    EXPECT_FALSE(fs::exists(folder / ".meta.json.1-2.tmp"));
}

TEST_F(RecoveryTest, TheStartOfTheRecordComesFirst) {
    const auto folder = make("2025_03_07_0900");
    putMeta(folder, started());
    touch(folder / "meta.json", crash);
    touch(folder / "shots", start);
    const auto healed = run().front().folder;
    EXPECT_EQ(metaOf(healed).start, u"2025-03-07T09:30:12+08:00"_s);
    EXPECT_EQ(metaOf(healed).duration, 90.3);
}

TEST_F(RecoveryTest, ThenTheStartOfTheName) {
    const auto folder = make("2025_03_07_0930");
    auto meta = started();
    meta.start = u"yesterday"_s;
    putMeta(folder, meta);
    touch(folder / "meta.json", crash);
    touch(folder / "shots", start);
    const auto healed = run().front().folder;
    EXPECT_EQ(metaOf(healed).start, u"yesterday"_s); // the record is kept, only its end and length are filled in
    EXPECT_EQ(metaOf(healed).duration, 102.3);       // since 09:30:00
}

TEST_F(RecoveryTest, ThenTheDateOnWhichTheFirstCafWasMade) {
    const auto folder = make("x");
    const auto before = QDateTime::currentDateTimeUtc().addSecs(-5);
    put(folder / "mic.caf", "1", crash);
    std::ignore = run();
    const auto found = MeetingLibrary::parseDate(metaOf(folder).start);
    ASSERT_TRUE(found);
    // A file system that does not tell leaves the date of the last write.
    EXPECT_TRUE(*found >= before || *found == crash.addMSecs(-250)) << metaOf(folder).start.toStdString();
}

TEST_F(RecoveryTest, AnEndBeforeTheStartGivesNoNegativeLength) {
    const auto folder = make("a");
    auto meta = started();
    meta.start = MeetingMeta::timestamp(crash.addSecs(60), taipei);
    putMeta(folder, meta);
    touch(folder / "meta.json", crash);
    touch(folder / "shots", crash);
    std::ignore = run();
    EXPECT_EQ(metaOf(folder).duration, 0);
}

TEST_F(RecoveryTest, StampsAreInTheZoneOfTheMoment) {
    clock.zone = QTimeZone::utc();
    const auto folder = make("2025_03_07_0930");
    put(folder / "mic.caf", "1", crash);
    const auto healed = run().front().folder;
    EXPECT_EQ(metaOf(healed).start, u"2025-03-07T09:30:00Z"_s);
    EXPECT_EQ(metaOf(healed).end, u"2025-03-07T01:31:42Z"_s);
}

// A record that has to be rebuilt

TEST_F(RecoveryTest, AnUnreadableRecordIsRebuiltWhereThereIsSound) {
    const auto folder = make("2025_03_07_0930");
    put(folder / "meta.json", "damaged");
    put(folder / "mic.caf", "89.96");
    put(folder / "shots/shot_0000s.jpg", "x");
    const auto healed = run().front().folder;
    const MeetingMeta expected{.start = u"2025-03-07T09:30:00+08:00"_s,
                               .end = u"2025-03-07T09:31:42+08:00"_s,
                               .duration = 90,
                               .type = std::nullopt,
                               .people = {},
                               .note = std::nullopt,
                               .screenshotsEnabled = true,
                               .mode = std::nullopt};
    EXPECT_EQ(metaOf(healed), expected);
}

TEST_F(RecoveryTest, ScreenshotsWereOnIfOneIsThere) {
    const auto folder = make("a");
    put(folder / "mic.caf", "1");
    put(folder / "shots/shot_0000s.JPG", "x");
    put(folder / "shots/notes.txt", "x");
    std::ignore = run();
    EXPECT_FALSE(metaOf(folder).screenshotsEnabled);

    const auto other = make("b");
    put(other / "mic.caf", "1");
    fs::remove_all(other / "shots");
    std::ignore = run();
    EXPECT_FALSE(metaOf(other).screenshotsEnabled);
}

TEST_F(RecoveryTest, ARecordThatStandsKeepsItsFieldsAndLosesUnknownOnes) {
    const auto folder = make("a");
    auto meta = started();
    meta.note = u"kept"_s;
    meta.people = {u"Ann"_s};
    meta.screenshotsEnabled = false;
    auto bytes = meta.data().value();
    bytes.replace("{\n", "{\n\"later\": 1,\n");
    put(folder / "meta.json", bytes);
    std::ignore = run();
    EXPECT_EQ(metaOf(folder).note, u"kept"_s);
    EXPECT_EQ(metaOf(folder).people, QStringList{u"Ann"_s});
    EXPECT_FALSE(metaOf(folder).screenshotsEnabled);
    EXPECT_FALSE(base::readFile(folder / "meta.json").value().contains("later"));
}

TEST_F(RecoveryTest, ARecordThatCannotBeWrittenIsAFailureAndTheFolderIsRenamed) {
    const auto folder = make("2025_03_07_0930");
    fs::create_directory(folder / "meta.json");
    put(folder / "mic.caf", "1");
    const auto outcomes = run();
    ASSERT_EQ(outcomes.size(), 1U);
    EXPECT_EQ(outcomes.front().folder, meetings / "2025_03_07_0930_未命名");
    EXPECT_FALSE(outcomes.front().metaWritten);
    ASSERT_EQ(outcomes.front().failures.size(), 1);
    EXPECT_TRUE(outcomes.front().failures.front().startsWith(u"meta.json: "));
    EXPECT_GT(outcomes.front().failures.front().size(), u"meta.json: "_s.size());
    EXPECT_TRUE(fs::exists(outcomes.front().folder / "mic.m4a"));
}

TEST_F(RecoveryTest, AMissingMeetingsFolderIsNothingToHeal) {
    EXPECT_TRUE(pending().isEmpty());
    EXPECT_TRUE(run().empty());
}

TEST_F(RecoveryTest, AFolderOfAnyNameIsHealed) {
    put(make("\xFF\xFE") / "mic.caf", "1");
    EXPECT_EQ(run().front().folder, meetings / "\xFF\xFE");
    EXPECT_TRUE(fs::exists(meetings / "\xFF\xFE/mic.m4a"));
}

} // namespace
