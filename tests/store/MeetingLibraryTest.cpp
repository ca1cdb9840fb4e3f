#include "store/MeetingLibrary.h"

#include "base/Handle.h"
#include "base/Json.h"
#include "fakes/ScopedVariable.h"
#include "fakes/SmallDisk.h"
#include "fakes/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <grp.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace store;
namespace fs = std::filesystem;

namespace {

const QTimeZone taipei("Asia/Taipei");
const QDateTime start(QDate(2025, 3, 7), QTime(1, 30, 12), Qt::UTC);

class MeetingLibraryTest : public testing::Test {
protected:
    fakes::TemporaryFolder meetings;

    fs::path make(const fs::path& name, const std::optional<QByteArray>& meta = std::nullopt) const {
        const fs::path folder = meetings / name;
        fs::create_directories(folder);
        if (meta) {
            EXPECT_TRUE(base::replaceFile(folder / "meta.json", *meta));
        }
        return folder;
    }

    [[nodiscard]] MeetingRecord read(const fs::path& name, const QByteArray& meta) const {
        return MeetingLibrary::record(make(name, meta), taipei);
    }

    [[nodiscard]] std::vector<std::string> order(const MeetingLibrary::FolderSet& skipping = {}) const {
        std::vector<std::string> names;
        for (const auto& record : MeetingLibrary::load(meetings.path, skipping, taipei)) {
            names.push_back(record.folder.filename().string());
        }
        return names;
    }

    static QByteArray metaOf(const fs::path& folder) { return base::readFile(folder / "meta.json").value(); }

    static base::Json jsonOf(const fs::path& folder) { return base::parseJson(metaOf(folder)).value(); }
};

// Reading one record

TEST_F(MeetingLibraryTest, AWholeRecordIsRead) {
    const auto record = read("2025_03_07_0930_weekly", R"({"start": "2025-03-07T09:30:12+08:00", "end": null,
        "duration": 63.2, "type": "週會", "people": ["Ann", "Bob"], "note": "weekly", "screenshotsEnabled": false,
        "mode": "practice", "later": {}})");
    const MeetingRecord expected{.folder = meetings / "2025_03_07_0930_weekly",
                                 .hasMeta = true,
                                 .start = start,
                                 .duration = 63.2,
                                 .type = u"週會"_s,
                                 .people = {u"Ann"_s, u"Bob"_s},
                                 .note = u"weekly"_s,
                                 .screenshotsEnabled = false,
                                 .practice = true};
    EXPECT_EQ(record, expected);
}

TEST_F(MeetingLibraryTest, AnEmptyRecordHasItsDefaultsAndTheStartOfItsName) {
    const auto record = read("2025_03_07_0930_x", "{}");
    EXPECT_TRUE(record.hasMeta);
    EXPECT_EQ(record.start, start.addSecs(-12));
    EXPECT_EQ(record.duration, std::nullopt);
    EXPECT_EQ(record.type, std::nullopt);
    EXPECT_EQ(record.people, QStringList());
    EXPECT_EQ(record.note, std::nullopt);
    EXPECT_TRUE(record.screenshotsEnabled);
    EXPECT_FALSE(record.practice);
}

TEST_F(MeetingLibraryTest, WhatIsNoObjectIsAnInterruptedMeeting) {
    const MeetingRecord expected{.folder = meetings / "2025_03_07_0930", .start = start.addSecs(-12)};
    for (const char* meta : {"", "[]", "[{}]", "null", "7", "\"{}\"", "{", "{\"note\": }", "{} {}", "\xFF{}"}) {
        EXPECT_EQ(read("2025_03_07_0930", meta), expected) << meta;
    }
    fs::remove(meetings / "2025_03_07_0930/meta.json");
    EXPECT_EQ(MeetingLibrary::record(meetings / "2025_03_07_0930", taipei), expected);
    fs::create_directory(meetings / "2025_03_07_0930/meta.json");
    EXPECT_EQ(MeetingLibrary::record(meetings / "2025_03_07_0930", taipei), expected);
    fs::remove(meetings / "2025_03_07_0930/meta.json");
    fs::create_symlink("nowhere", meetings / "2025_03_07_0930/meta.json");
    EXPECT_EQ(MeetingLibrary::record(meetings / "2025_03_07_0930", taipei), expected);
    fs::remove(meetings / "2025_03_07_0930/meta.json");
    ASSERT_EQ(::mkfifo((meetings / "2025_03_07_0930/meta.json").c_str(), 0600), 0);
    EXPECT_EQ(MeetingLibrary::record(meetings / "2025_03_07_0930", taipei), expected);
}

TEST_F(MeetingLibraryTest, AMissingFolderGivesARecordToo) {
    const auto record = MeetingLibrary::record(meetings / "2025_03_07_0930", taipei);
    EXPECT_FALSE(record.hasMeta);
    EXPECT_EQ(record.start, start.addSecs(-12));
}

TEST_F(MeetingLibraryTest, AWrongTypeCountsAsAbsent) {
    const auto defaults = read("x", "{}");
    for (const QString& key :
         {u"start"_s, u"duration"_s, u"type"_s, u"people"_s, u"note"_s, u"screenshotsEnabled"_s, u"mode"_s}) {
        for (const char* value : {"null", "true", "7", "\" \"", "[]", "[[]]", "{}"}) {
            const bool rightType = (key == u"duration" && QByteArray(value) == "7") ||
                                   (key == u"type" && QByteArray(value) == "\" \"") ||
                                   (key == u"screenshotsEnabled" && QByteArray(value) == "true");
            if (!rightType) {
                EXPECT_EQ(read("x", QByteArray("{\"" + key.toUtf8() + "\": " + value + "}")), defaults)
                    << key.toStdString() << value;
            }
        }
    }
}

TEST_F(MeetingLibraryTest, AnInvalidStartFallsBackToTheName) {
    EXPECT_EQ(read("2025_03_07_0930_x", R"({"start": "yesterday"})").start, start.addSecs(-12));
    EXPECT_EQ(read("x", R"({"start": "yesterday"})").start, std::nullopt);
}

TEST_F(MeetingLibraryTest, DatesFromFarAwayAreDates) {
    EXPECT_EQ(read("x", R"({"start": "0001-01-01T00:00:00Z"})").start, QDateTime(QDate(1, 1, 1), QTime(0, 0), Qt::UTC));
    EXPECT_EQ(read("x", R"({"start": "99999-01-01T00:00:00-12:00"})").start,
              QDateTime(QDate(99999, 1, 1), QTime(12, 0), Qt::UTC));
}

TEST_F(MeetingLibraryTest, TheNoteIsTrimmedAndNeverEmpty) {
    EXPECT_EQ(read("x", R"({"note": "  weekly sync\n"})").note, u"weekly sync"_s);
    EXPECT_EQ(read("x", R"({"note": " \t\n"})").note, std::nullopt);
    EXPECT_EQ(read("x", R"({"note": ""})").note, std::nullopt);
}

TEST_F(MeetingLibraryTest, AnyNumberIsADuration) {
    EXPECT_EQ(read("x", R"({"duration": -3})").duration, -3);
    EXPECT_EQ(read("x", R"({"duration": 1e3})").duration, 1000);
    EXPECT_EQ(read("x", R"({"duration": 1e999})").duration, std::nullopt);
}

TEST_F(MeetingLibraryTest, PeopleKeepTheirTextsAndLoseTheRest) {
    EXPECT_EQ(read("x", R"({"people": ["Ann", 7, null, ["Bob"], "", "Eve"]})").people,
              (QStringList{u"Ann"_s, u""_s, u"Eve"_s}));
}

TEST_F(MeetingLibraryTest, ScreenshotsAreOnUnlessTheRecordSaysFalse) {
    EXPECT_TRUE(read("x", R"({"screenshotsEnabled": true})").screenshotsEnabled);
    EXPECT_FALSE(read("x", R"({"screenshotsEnabled": false})").screenshotsEnabled);
    EXPECT_TRUE(read("x", R"({"screenshotsEnabled": 0})").screenshotsEnabled);
}

TEST_F(MeetingLibraryTest, OnlyTheModePracticeIsPractice) {
    EXPECT_TRUE(read("x", R"({"mode": "practice"})").practice);
    EXPECT_FALSE(read("x", R"({"mode": "Practice"})").practice);
    EXPECT_FALSE(read("x", R"({"mode": ""})").practice);
}

TEST_F(MeetingLibraryTest, OfEqualKeysTheLastCounts) {
    EXPECT_EQ(read("x", R"({"note": "first", "note": "second"})").note, u"second"_s);
}

TEST_F(MeetingLibraryTest, AByteOrderMarkIsNoMatter) {
    EXPECT_EQ(read("x", "\xEF\xBB\xBF{\"note\": \"a\"}").note, u"a"_s);
}

TEST_F(MeetingLibraryTest, NestingWithoutEndIsAnInterruptedMeeting) {
    const QByteArray deep = "{\"a\": " + QByteArray(100'000, '[') + QByteArray(100'000, ']') + "}";
    EXPECT_FALSE(read("x", deep).hasMeta);
    EXPECT_FALSE(read("x", QByteArray(100'000, '{')).hasMeta);
}

TEST_F(MeetingLibraryTest, AHugeFileIsAnInterruptedMeetingAndCostsNoMemory) {
    const auto folder = make("x", "{}");
    fs::resize_file(folder / "meta.json", 100 * 1024 * 1024); // a hole takes no room
    EXPECT_FALSE(MeetingLibrary::record(folder, taipei).hasMeta);
}

TEST_F(MeetingLibraryTest, ARecordCutAtAnyByteIsReadOrInterrupted) {
    const QByteArray whole = R"({"note": "會議", "duration": 12.5, "people": ["Ann"]})";
    for (qsizetype length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(read("x", whole.first(length)).hasMeta) << length;
    }
    EXPECT_TRUE(read("x", whole).hasMeta);
}

TEST_F(MeetingLibraryTest, EndIsADateOrNothing) {
    EXPECT_EQ(MeetingLibrary::endDate(make("a", R"({"end": "2025-03-07T09:30:12+08:00"})")), start);
    for (const char* meta : {"{}", R"({"end": null})", R"({"end": 7})", R"({"end": "soon"})", "[]", ""}) {
        EXPECT_EQ(MeetingLibrary::endDate(make("a", meta)), std::nullopt) << meta;
    }
    EXPECT_EQ(MeetingLibrary::endDate(meetings / "none"), std::nullopt);
}

// The list

TEST_F(MeetingLibraryTest, TheNewestStandsOnTop) {
    make("2025_03_07_0930", "{}");
    make("2025_03_08_0930", "{}");
    make("2025_03_06_0930", R"({"start": "2025-03-09T00:00:00Z"})");
    EXPECT_THAT(order(), testing::ElementsAre("2025_03_06_0930", "2025_03_08_0930", "2025_03_07_0930"));
}

TEST_F(MeetingLibraryTest, OfEqualStartsTheLaterNameComesFirst) {
    make("2025_03_07_0930_a", "{}");
    make("2025_03_07_0930_c");
    make("2025_03_07_0930_b", R"({"start": "2025-03-07T09:30:00+08:00"})");
    EXPECT_THAT(order(), testing::ElementsAre("2025_03_07_0930_c", "2025_03_07_0930_b", "2025_03_07_0930_a"));
}

TEST_F(MeetingLibraryTest, WithoutAStartAMeetingSortsLast) {
    make("x");
    make("z", "{}");
    make("1970_01_01_0000", R"({"start": "0001-01-02T00:00:00Z"})");
    EXPECT_THAT(order(), testing::ElementsAre("1970_01_01_0000", "z", "x"));
}

TEST_F(MeetingLibraryTest, FilesHiddenFoldersAndLinksAreNoMeetings) {
    make("a", "{}");
    make(".hidden", "{}");
    ASSERT_TRUE(base::replaceFile(meetings / "file", "x"));
    const fakes::TemporaryFolder elsewhere;
    ASSERT_TRUE(base::replaceFile(elsewhere / "meta.json", "{}"));
    fs::create_directory_symlink(elsewhere.path, meetings / "link");
    EXPECT_THAT(order(), testing::ElementsAre("a"));
}

TEST_F(MeetingLibraryTest, FoldersToSkipAreLeftOut) {
    make("a", "{}");
    make("b", "{}");
    EXPECT_THAT(order({base::standardizedText(meetings / "x/../a/")}), testing::ElementsAre("b"));
    EXPECT_THAT(order({u"a"_s, base::pathText(meetings / "c")}), testing::ElementsAre("b", "a"));
}

TEST_F(MeetingLibraryTest, SkippingLooksAtStandardizedPaths) {
    make("a", "{}");
    EXPECT_EQ(MeetingLibrary::load(meetings / "a/..", {}, taipei).size(), 1U);
    EXPECT_TRUE(MeetingLibrary::load(meetings / "a/..", {base::pathText(meetings / "a")}, taipei).empty());
}

TEST_F(MeetingLibraryTest, AMissingOrForeignMeetingsFolderIsAnEmptyList) {
    EXPECT_TRUE(MeetingLibrary::load(meetings / "none").empty());
    ASSERT_TRUE(base::replaceFile(meetings / "file", "x"));
    EXPECT_TRUE(MeetingLibrary::load(meetings / "file").empty());
    EXPECT_TRUE(MeetingLibrary::load(meetings.path).empty());
}

TEST_F(MeetingLibraryTest, AFolderOfAnyNameIsListed) {
    make("\xFF\xFE");
    make("2025_03_07_0930_\xFF");
    make("line\nend");
    const auto records = MeetingLibrary::load(meetings.path, {}, taipei);
    ASSERT_EQ(records.size(), 3U);
    EXPECT_EQ(records[0].folder, meetings / "2025_03_07_0930_\xFF");
    EXPECT_EQ(records[0].start, start.addSecs(-12));
    EXPECT_EQ(records[1].folder, meetings / "\xFF\xFE");
}

TEST_F(MeetingLibraryTest, NothingButMetaIsOpened) {
    const auto folder = make("a", "{}");
    fs::create_directory(folder / "shots");
    for (const char* name : {"notes.md", "transcript.json", "summary.json", "mic.m4a"}) {
        ASSERT_TRUE(base::replaceFile(folder / name, "x"));
    }
    const base::FileDescriptor watch(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    ASSERT_GE(::inotify_add_watch(watch.get(), folder.c_str(), IN_OPEN | IN_ACCESS), 0);
    EXPECT_EQ(MeetingLibrary::load(meetings.path).size(), 1U);
    QByteArray events(4096, '\0');
    events.truncate(
        std::max<qsizetype>(0, ::read(watch.get(), events.data(), static_cast<std::size_t>(events.size()))));
    EXPECT_TRUE(events.contains("meta.json"));
    for (const char* name : {"notes.md", "transcript.json", "summary.json", "mic.m4a", "shots"}) {
        EXPECT_FALSE(events.contains(name)) << name;
    }
}

TEST_F(MeetingLibraryTest, TheLatestFolderIsTheFirst) {
    EXPECT_EQ(MeetingLibrary::latestFolder(meetings.path), std::nullopt);
    make("2025_03_07_0930");
    make("2025_03_08_0930");
    EXPECT_EQ(MeetingLibrary::latestFolder(meetings.path), meetings / "2025_03_08_0930");
}

/// Whether `holds` does for a user whom the modes of files bind, as they don't bind root.
bool holdsForAnyUser(const std::function<bool()>& holds) {
    const pid_t child = ::fork();
    if (child == 0) {
        constexpr uid_t nobody = 65534;
        const bool bound =
            ::geteuid() != 0 || (::setgroups(0, nullptr) == 0 && ::setgid(nobody) == 0 && ::setuid(nobody) == 0);
        ::_exit(bound && holds() ? 0 : 1);
    }
    int status = 1;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST_F(MeetingLibraryTest, ARecordThatMayNotBeReadIsAnInterruptedMeeting) {
    const auto folder = make("2025_03_07_0930", R"({"note": "secret"})");
    fs::permissions(meetings.path, fs::perms::all);
    fs::permissions(folder, fs::perms::all);
    fs::permissions(folder / "meta.json", fs::perms::none);
    EXPECT_TRUE(holdsForAnyUser([this] {
        const auto records = MeetingLibrary::load(meetings.path, {}, taipei);
        return records.size() == 1 && !records[0].hasMeta && records[0].start == start.addSecs(-12) &&
               MeetingLibrary::update(records[0], {.note = u"x"_s}).error().kind ==
                   MeetingLibrary::EditError::Kind::NoMeta;
    }));
}

TEST_F(MeetingLibraryTest, MeetingsThatMayBeListedButNotLookedAtAreInterruptedOnes) {
    make("2025_03_07_0930", "{}");
    fs::permissions(meetings.path, fs::perms::others_read | fs::perms::owner_read);
    EXPECT_TRUE(holdsForAnyUser([this] {
        const auto records = MeetingLibrary::load(meetings.path, {}, taipei);
        return records.size() == 1 && !records[0].hasMeta;
    }));
    fs::permissions(meetings.path, fs::perms::owner_all);
}

TEST_F(MeetingLibraryTest, AFolderThatMayNotBeWrittenToKeepsItsRecordAndSaysWhy) {
    MeetingRecord record;
    record.folder = make("a", R"({"note": "old"})");
    fs::permissions(meetings.path, fs::perms::all);
    fs::permissions(record.folder / "meta.json", fs::perms::all);
    fs::permissions(record.folder,
                    fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read | fs::perms::others_exec);
    EXPECT_TRUE(holdsForAnyUser([&record] {
        const auto edited = MeetingLibrary::update(record, {.note = u"new"_s});
        return !edited && edited.error().kind == MeetingLibrary::EditError::Kind::System &&
               !edited.error().text.isEmpty() && !MeetingLibrary::writeNotes(u"x"_s, record);
    }));
    EXPECT_EQ(MeetingLibrary::record(record.folder).note, u"old"_s);
    fs::permissions(record.folder, fs::perms::owner_all);
}

TEST_F(MeetingLibraryTest, MeetingsThatComeAndGoDoNotDisturbTheOthers) {
    make("2025_03_07_0930", R"({"note": "stays"})");
    std::jthread others([this](const std::stop_token& stop) {
        for (int i = 0; !stop.stop_requested(); i = (i + 1) % 5) {
            const fs::path folder = meetings / ("2025_03_08_093" + std::to_string(i));
            std::error_code ignored;
            fs::create_directory(folder, ignored);
            std::ofstream(folder / "meta.json") << "{}";
            fs::remove_all(folder, ignored);
        }
    });
    for (int round = 0; round < 200; ++round) {
        const auto records = MeetingLibrary::load(meetings.path, {}, taipei);
        ASSERT_FALSE(records.empty());
        ASSERT_EQ(records.back().note, u"stays"_s);
    }
}

// Screenshots

TEST_F(MeetingLibraryTest, ShotsAreSortedBySecondsThenName) {
    MeetingRecord record;
    record.folder = make("a");
    EXPECT_TRUE(MeetingLibrary::shots(record).empty());
    fs::create_directory(record.shotsURL());
    for (const char* name : {"shot_0030s_2.jpg", "shot_0030s.jpg", "shot_10000s.jpg", "shot_0000s.jpg", "shot_9s.JPG",
                             ".shot_0001s.jpg", "notes.txt", "shot_x.jpg"}) {
        ASSERT_TRUE(base::replaceFile(record.shotsURL() / name, "x"));
    }
    std::vector<std::pair<std::string, std::int64_t>> found;
    for (const auto& shot : MeetingLibrary::shots(record)) {
        found.emplace_back(shot.url.filename().string(), shot.seconds);
    }
    EXPECT_THAT(found, testing::ElementsAre(std::pair("shot_0000s.jpg", 0), std::pair("shot_9s.JPG", 9),
                                            std::pair("shot_0030s.jpg", 30), std::pair("shot_0030s_2.jpg", 30),
                                            std::pair("shot_10000s.jpg", 10000)));
}

// Edits

TEST_F(MeetingLibraryTest, AnEditChangesItsKeysAlone) {
    MeetingRecord record;
    record.folder =
        make("a", R"({"note": "old", "type": "old", "people": ["Old"], "later": {"z": [1, {"b": 2, "a": 1}]}})");
    ASSERT_TRUE(MeetingLibrary::update(record, {.note = u" new "_s}));
    EXPECT_EQ(jsonOf(record.folder),
              base::parseJson(R"({"later": {"z": [1, {"a": 1, "b": 2}]}, "note": "new", "people": ["Old"],
                  "type": "old"})")
                  .value());
    ASSERT_TRUE(MeetingLibrary::update(record, {.type = u" as it is "_s}));
    ASSERT_TRUE(MeetingLibrary::update(record, {.people = QStringList{u" Ann "_s, u"ann"_s}}));
    const auto edited = MeetingLibrary::record(record.folder);
    EXPECT_EQ(edited.note, u"new"_s);
    EXPECT_EQ(edited.type, u" as it is "_s);
    EXPECT_EQ(edited.people, QStringList{u"Ann"_s});
}

TEST_F(MeetingLibraryTest, AnEmptyTextClearsToNull) {
    MeetingRecord record;
    record.folder = make("a", R"({"note": "old", "type": "old"})");
    ASSERT_TRUE(MeetingLibrary::update(record, {.note = u" \n "_s, .type = u""_s}));
    EXPECT_TRUE(jsonOf(record.folder).find(u"note")->isNull());
    EXPECT_TRUE(jsonOf(record.folder).find(u"type")->isNull());
    EXPECT_EQ(MeetingLibrary::record(record.folder).title(), u"未命名"_s);
}

TEST_F(MeetingLibraryTest, AnEmptyListOfPeopleIsAnEmptyArray) {
    MeetingRecord record;
    record.folder = make("a", R"({"people": ["Old"]})");
    ASSERT_TRUE(MeetingLibrary::update(record, {.people = QStringList()}));
    EXPECT_TRUE(jsonOf(record.folder).find(u"people")->toArray()->empty());
}

TEST_F(MeetingLibraryTest, AnEditOfNothingIsTheSameFileInTheStableForm) {
    MeetingRecord record;
    record.folder = make("a", "{\"b\":1,\"a\":\"x/y\"}");
    ASSERT_TRUE(MeetingLibrary::update(record, {}));
    EXPECT_EQ(metaOf(record.folder), QByteArray("{\n  \"a\" : \"x/y\",\n  \"b\" : 1\n}"));
}

TEST_F(MeetingLibraryTest, EveryNumberComesOutAsItWentIn) {
    MeetingRecord record;
    for (const char* number :
         {"63.2", "12.3", "0.1", "1.50", "3.0", "-0", "-0.0", "1e3", "1E+400", "1e-400", "12345678901234567890",
          "9007199254740993", "3.14159265358979323846264338327950288", "18446744073709551616"}) {
        record.folder =
            make("a", QByteArray(QByteArray("{\"duration\": ") + number + ", \"deep\": [{\"n\": " + number + "}]}"));
        ASSERT_TRUE(MeetingLibrary::update(record, {.note = u"x"_s})) << number;
        EXPECT_EQ(metaOf(record.folder),
                  QByteArray(QByteArray("{\n  \"deep\" : [\n    {\n      \"n\" : ") + number +
                             "\n    }\n  ],\n  \"duration\" : " + number + ",\n  \"note\" : \"x\"\n}"));
    }
}

TEST_F(MeetingLibraryTest, UnknownValuesOfEveryKindStay) {
    MeetingRecord record;
    record.folder =
        make("a", R"({"t": true, "f": false, "n": null, "s": "tab\t\u0001\"\\ 會 😀", "e": "", "o": {}, "l": []})");
    const auto before = jsonOf(record.folder);
    ASSERT_TRUE(MeetingLibrary::update(record, {.note = u"x"_s}));
    const auto after = jsonOf(record.folder);
    for (const auto& [key, value] : *before.toObject()) {
        ASSERT_NE(after.find(key), nullptr);
        EXPECT_EQ(*after.find(key), value) << key.toStdString();
    }
}

TEST_F(MeetingLibraryTest, AKeyThatIsThereTwiceIsEditedOnce) {
    MeetingRecord record;
    record.folder = make("a", R"({"note": "a", "later": 1, "note": "b", "later": 2})");
    ASSERT_TRUE(MeetingLibrary::update(record, {.note = u"c"_s}));
    EXPECT_EQ(MeetingLibrary::record(record.folder).note, u"c"_s);
    EXPECT_EQ(metaOf(record.folder).count("note"), 1);
    EXPECT_EQ(metaOf(record.folder).count("later"), 2);
}

TEST_F(MeetingLibraryTest, WithoutMetaNothingCanBeEdited) {
    MeetingRecord record;
    record.folder = make("a");
    const auto edited = MeetingLibrary::update(record, {.note = u"x"_s});
    ASSERT_FALSE(edited);
    EXPECT_EQ(edited.error().kind, MeetingLibrary::EditError::Kind::NoMeta);
    EXPECT_EQ(edited.error().text, u"這場沒有 meta.json，可能錄到一半中斷，只能看不能改"_s);
    EXPECT_FALSE(fs::exists(record.metaURL()));
    fs::create_directory(record.metaURL());
    EXPECT_EQ(MeetingLibrary::update(record, {}).error().kind, MeetingLibrary::EditError::Kind::NoMeta);
}

TEST_F(MeetingLibraryTest, ADamagedMetaIsNotEditedAndStaysAsItWas) {
    MeetingRecord record;
    for (const char* meta : {"", "[]", "{\"note\": \"x\"", "{} x", "\xFF{}", "null"}) {
        record.folder = make("a", meta);
        const auto edited = MeetingLibrary::update(record, {.note = u"x"_s});
        ASSERT_FALSE(edited) << meta;
        EXPECT_EQ(edited.error().kind, MeetingLibrary::EditError::Kind::Unreadable) << meta;
        EXPECT_EQ(edited.error().text, u"meta.json 讀不懂，先修好檔案再改"_s);
        EXPECT_EQ(metaOf(record.folder), QByteArray(meta));
    }
}

TEST_F(MeetingLibraryTest, AHugeMetaIsUnreadable) {
    MeetingRecord record;
    record.folder = make("a", "{}");
    fs::resize_file(record.metaURL(), 100 * 1024 * 1024);
    EXPECT_EQ(MeetingLibrary::update(record, {}).error().kind, MeetingLibrary::EditError::Kind::Unreadable);
    EXPECT_EQ(fs::file_size(record.metaURL()), 100U * 1024 * 1024);
}

TEST_F(MeetingLibraryTest, ADiskThatFillsDuringAnEditLeavesTheOldContent) {
    MeetingRecord record;
    const QByteArray before = "{\"later\": \"" + QByteArray(5000, 'x') + "\"}";
    record.folder = make("a", before);
    const auto edited = [&record] {
        const fakes::SmallDisk disk(1000);
        return MeetingLibrary::update(record, {.note = u"x"_s});
    }();
    ASSERT_FALSE(edited);
    EXPECT_EQ(edited.error().kind, MeetingLibrary::EditError::Kind::System);
    EXPECT_FALSE(edited.error().text.isEmpty());
    EXPECT_EQ(metaOf(record.folder), before);
    EXPECT_EQ(std::distance(fs::directory_iterator(record.folder), fs::directory_iterator()), 1);
}

TEST_F(MeetingLibraryTest, AnEditOfALinkLeavesWhatItPointsToAlone) {
    const fakes::TemporaryFolder elsewhere;
    ASSERT_TRUE(base::replaceFile(elsewhere / "meta.json", R"({"note": "theirs"})"));
    MeetingRecord record;
    record.folder = make("a");
    fs::create_symlink(elsewhere / "meta.json", record.metaURL());
    ASSERT_TRUE(MeetingLibrary::update(record, {.note = u"ours"_s}));
    EXPECT_EQ(MeetingLibrary::record(record.folder).note, u"ours"_s);
    EXPECT_EQ(base::readFile(elsewhere / "meta.json"), QByteArray(R"({"note": "theirs"})"));
}

TEST(CleanNamesTest, NamesAreTrimmedAndStandOnce) {
    EXPECT_EQ(MeetingLibrary::cleanNames({u" Ann "_s, u"ann"_s, u""_s, u"Bob"_s}), (QStringList{u"Ann"_s, u"Bob"_s}));
    EXPECT_EQ(MeetingLibrary::cleanNames({u"bob"_s, u"Ann"_s, u"BOB"_s, u"\n"_s, u"ANN\t"_s}),
              (QStringList{u"bob"_s, u"Ann"_s}));
    EXPECT_EQ(MeetingLibrary::cleanNames({u"Jose"_s, u"José"_s}), (QStringList{u"Jose"_s, u"José"_s}));
    EXPECT_EQ(MeetingLibrary::cleanNames({}), QStringList());
}

// Notes

TEST_F(MeetingLibraryTest, NotesAreReadBackToTheLetter) {
    MeetingRecord record;
    record.folder = make("a");
    EXPECT_EQ(MeetingLibrary::readNotes(record), QString());
    const QString text = u"# 筆記\r\n\n- 😀 e\u0301 é\n\n"_s;
    ASSERT_TRUE(MeetingLibrary::writeNotes(text, record));
    EXPECT_EQ(MeetingLibrary::readNotes(record), text);
    EXPECT_EQ(base::readFile(record.notesURL()), text.toUtf8());
}

TEST_F(MeetingLibraryTest, EmptyNotesMakeNoFileButEmptyOne) {
    MeetingRecord record;
    record.folder = make("a");
    ASSERT_TRUE(MeetingLibrary::writeNotes(u""_s, record));
    EXPECT_FALSE(fs::exists(record.notesURL()));
    ASSERT_TRUE(MeetingLibrary::writeNotes(u"x"_s, record));
    ASSERT_TRUE(MeetingLibrary::writeNotes(u""_s, record));
    EXPECT_EQ(base::readFile(record.notesURL()), QByteArray(""));
}

TEST_F(MeetingLibraryTest, NotesThatAreNoTextReadAsEmptyAndAreKeptAside) {
    MeetingRecord record;
    record.folder = make("a");
    const QByteArray latin = "caf\xE9";
    for (const char* copy : {"notes.md.damaged", "notes.md.damaged_2"}) {
        ASSERT_TRUE(base::replaceFile(record.notesURL(), latin));
        EXPECT_EQ(MeetingLibrary::readNotes(record), QString());
        ASSERT_TRUE(MeetingLibrary::writeNotes(u"new"_s, record));
        EXPECT_EQ(MeetingLibrary::readNotes(record), u"new"_s);
        EXPECT_EQ(base::readFile(record.folder / copy), latin);
    }
}

TEST_F(MeetingLibraryTest, NotesThatCannotBeKeptAsideAreNotReplaced) {
    MeetingRecord record;
    record.folder = make("a");
    fs::create_directories(record.notesURL() / "inside");
    EXPECT_FALSE(MeetingLibrary::writeNotes(u"new"_s, record));
    EXPECT_TRUE(fs::exists(record.notesURL() / "inside"));
    EXPECT_EQ(MeetingLibrary::readNotes(record), QString());
}

TEST_F(MeetingLibraryTest, ADiskThatFillsLeavesTheOldNotes) {
    MeetingRecord record;
    record.folder = make("a");
    ASSERT_TRUE(MeetingLibrary::writeNotes(u"old"_s, record));
    const auto written = [&record] {
        const fakes::SmallDisk disk(1000);
        return MeetingLibrary::writeNotes(QString(5000, u'x'), record);
    }();
    EXPECT_FALSE(written);
    EXPECT_EQ(MeetingLibrary::readNotes(record), u"old"_s);
}

TEST_F(MeetingLibraryTest, HugeNotesReadAsEmpty) {
    MeetingRecord record;
    record.folder = make("a");
    ASSERT_TRUE(base::replaceFile(record.notesURL(), "x"));
    fs::resize_file(record.notesURL(), 100 * 1024 * 1024);
    EXPECT_EQ(MeetingLibrary::readNotes(record), QString());
}

// Trash

TEST_F(MeetingLibraryTest, AMeetingGoesToTheTrashWhole) {
    const fakes::ScopedVariable home("TARVEX_HOME", meetings.path.string());
    MeetingRecord record;
    record.folder = make("Meetings/2025_03_07_0930", "{}");
    const QDateTime now(QDate(2025, 3, 7), QTime(9, 30, 12), QTimeZone::systemTimeZone());
    ASSERT_TRUE(MeetingLibrary::trash(record, now));
    EXPECT_TRUE(fs::exists(meetings / "Trash/20250307-093012_2025_03_07_0930/meta.json"));
    EXPECT_FALSE(fs::exists(record.folder));
    const auto again = MeetingLibrary::trash(record, now);
    ASSERT_FALSE(again);
    EXPECT_FALSE(again.error().text.isEmpty());
}

} // namespace
