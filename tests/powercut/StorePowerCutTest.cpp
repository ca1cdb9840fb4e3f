// No power cut at any moment costs what had been kept: files that are replaced, records, notes, healing.
#include "base/Files.h"
#include "base/Handle.h"
#include "base/PreferenceStore.h"
#include "fakes/ManualScheduler.h"
#include "fakes/TemporaryFolder.h"
#include "powercut/Cuts.h"
#include "powercut/Recording.h"
#include "store/MeetingArchive.h"
#include "store/MeetingLibrary.h"
#include "store/Recovery.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace store;
using powercut::Cut;
using powercut::tryCuts;
namespace fs = std::filesystem;

namespace {

const QTimeZone taipei("Asia/Taipei");
const QDateTime start(QDate(2025, 3, 7), QTime(1, 30, 12), Qt::UTC);

/// Says whether `file` holds `before` or `after`, and `after` from the mark "done" on.
powercut::Check holdsOldOrNew(const fs::path& file, const QByteArray& before, const QByteArray& after) {
    return [=](const Cut& cut) -> std::string {
        const QByteArray found = base::readFile(cut.folder / file).value_or("nothing");
        if (found != after && (found != before || cut.isAfter("done"))) {
            return "found " + found.toStdString();
        }
        return "";
    };
}

class StorePowerCutTest : public testing::Test {
protected:
    fakes::TemporaryFolder folder;
    fakes::ManualWallClock clock;

    template<typename Work>
    powercut::History record(Work work) {
        powercut::Recording recording(folder.path);
        work();
        recording.mark("done");
        return recording.finish();
    }
};

TEST_F(StorePowerCutTest, AReplacedFileIsTheOldOneOrTheNewOne) {
    ASSERT_TRUE(base::replaceFile(folder / "file", "old"));
    const auto history = record([this] { ASSERT_TRUE(base::replaceFile(folder / "file", QByteArray(3000, 'n'))); });
    EXPECT_EQ(tryCuts(history, holdsOldOrNew("file", "old", QByteArray(3000, 'n')), 30), "");
}

TEST_F(StorePowerCutTest, AMovedFolderHasOneOfItsNamesAndNothingInItIsLost) {
    fs::create_directory(folder / "old");
    ASSERT_TRUE(base::replaceFile(folder / "old/file", "x"));
    const auto history = record([this] { ASSERT_TRUE(base::moveItem(folder / "old", folder / "new")); });
    EXPECT_EQ(tryCuts(history,
                      [](const Cut& cut) {
                          const bool old = base::readFile(cut.folder / "old/file") == QByteArray("x");
                          const bool moved = base::readFile(cut.folder / "new/file") == QByteArray("x");
                          return old != moved && (moved || !cut.isAfter("done")) ? "" : "not exactly one name";
                      }),
              "");
}

TEST_F(StorePowerCutTest, FoldersThatWereMadeAreThere) {
    const auto history = record([this] { ASSERT_TRUE(base::makeFolders(folder / "a/b/c")); });
    EXPECT_EQ(tryCuts(history,
                      [](const Cut& cut) {
                          return !cut.isAfter("done") || fs::is_directory(cut.folder / "a/b/c") ? "" : "lost";
                      }),
              "");
}

TEST_F(StorePowerCutTest, PreferencesKeepTheirOldOrNewValues) {
    base::PreferenceStore(folder / "p.json").set(u"kept"_s, true);
    const QByteArray before = base::readFile(folder / "p.json").value();
    const auto history = record([this] { base::PreferenceStore(folder / "p.json").set(u"more"_s, true); });
    const QByteArray after = base::readFile(folder / "p.json").value();
    EXPECT_EQ(tryCuts(history, holdsOldOrNew("p.json", before, after)), "");
}

TEST_F(StorePowerCutTest, AnEditLeavesTheOldRecordOrTheNewOne) {
    MeetingRecord record;
    record.folder = folder.path;
    const QByteArray before = R"({"later": 1, "note": "old"})";
    ASSERT_TRUE(base::replaceFile(record.metaURL(), before));
    const auto history = this->record([&] { ASSERT_TRUE(MeetingLibrary::update(record, {.note = u"new"_s})); });
    const QByteArray after = base::readFile(record.metaURL()).value();
    EXPECT_EQ(tryCuts(history, holdsOldOrNew("meta.json", before, after)), "");
}

TEST_F(StorePowerCutTest, NotesAreTheOldOnesOrTheNewOnes) {
    MeetingRecord record;
    record.folder = folder.path;
    ASSERT_TRUE(MeetingLibrary::writeNotes(u"old"_s, record));
    const auto history = this->record([&] { ASSERT_TRUE(MeetingLibrary::writeNotes(u"new"_s, record)); });
    EXPECT_EQ(tryCuts(history, holdsOldOrNew("notes.md", "old", "new")), "");
}

TEST_F(StorePowerCutTest, NotesThatAreNoTextSurviveTheirReplacement) {
    MeetingRecord record;
    record.folder = folder.path;
    ASSERT_TRUE(base::replaceFile(record.notesURL(), "\xFF old"));
    const auto history = this->record([&] { ASSERT_TRUE(MeetingLibrary::writeNotes(u"new"_s, record)); });
    EXPECT_EQ(tryCuts(history,
                      [](const Cut& cut) {
                          for (const auto& [name, content] : powercut::History::contentsOf(cut.folder)) {
                              if (content == "file \xFF old") {
                                  return "";
                              }
                          }
                          return "the old notes are lost";
                      }),
              "");
}

TEST_F(StorePowerCutTest, AFinalizedMeetingIsWholeUnderOneOfItsNames) {
    StoppedSession stopped;
    stopped.folder = folder / "2025_03_07_0930";
    stopped.start = start;
    stopped.end = start.addSecs(90);
    stopped.duration = 90;
    fs::create_directory(stopped.folder);
    ASSERT_TRUE(base::replaceFile(stopped.folder / "mic.m4a", "sound"));
    ASSERT_TRUE(MeetingArchive::writeMeta(MeetingMeta::started(start, true, std::nullopt, taipei), stopped.folder));
    const auto history = record([&] {
        const MeetingAnswers answers{std::nullopt, {u"Ann"_s}, u"weekly"_s};
        ASSERT_EQ(MeetingArchive::finalize(stopped, answers, {}, taipei), folder / "2025_03_07_0930_weekly");
    });
    EXPECT_EQ(tryCuts(history,
                      [](const Cut& cut) -> std::string {
                          const auto records = MeetingLibrary::load(cut.folder, {}, taipei);
                          if (records.size() != 1 || !records[0].hasMeta || !fs::exists(records[0].micURL())) {
                              return "the meeting is not whole";
                          }
                          if (cut.isAfter("done") && (records[0].note != u"weekly"_s ||
                                                      records[0].folder.filename() != "2025_03_07_0930_weekly")) {
                              return "the answers are lost";
                          }
                          return "";
                      }),
              "");
}

// Healing

enum class Durability { Flushed, NotFlushed };

/// The sound of a CAF is its text, and that of the m4a the same.
std::expected<double, ConvertFailure> convert(const fs::path& caf, const fs::path& m4a, Durability durability) {
    const QByteArray sound = base::readFile(caf).value();
    std::error_code ignored;
    fs::remove(m4a, ignored);
    const base::FileDescriptor file(::open(m4a.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600));
    for (const char byte : sound) { // in pieces, as an encoder writes
        if (::write(file.get(), &byte, 1) != 1) {
            return std::unexpected(ConvertFailure{std::nullopt, u"full"_s});
        }
    }
    if (durability == Durability::Flushed && (::fsync(file.get()) != 0 || !base::flushFolder(m4a.parent_path()))) {
        return std::unexpected(ConvertFailure{std::nullopt, u"not flushed"_s});
    }
    return sound.toDouble();
}

class HealingPowerCutTest : public StorePowerCutTest {
protected:
    void SetUp() override {
        const fs::path meeting = folder / "2025_03_07_0930";
        fs::create_directories(meeting / "shots");
        ASSERT_TRUE(MeetingArchive::writeMeta(MeetingMeta::started(start, true, std::nullopt, taipei), meeting));
        put(meeting / "mic.caf", "90.5", 91);
        put(meeting / "system.caf", "60.5", 61);
        const fs::path practice = folder / "2025_03_07_1030_練習";
        fs::create_directories(practice);
        put(practice / "mic.caf", "30.5", 4000);
    }

    static void put(const fs::path& path, const QByteArray& bytes, int secondsAfterStart) {
        ASSERT_TRUE(base::replaceFile(path, bytes));
        const timespec stamp{start.toSecsSinceEpoch() + secondsAfterStart, 0};
        const timespec both[2] = {stamp, stamp};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), both, 0), 0);
    }

    void heal(const fs::path& meetings, Durability durability) const {
        std::ignore = Recovery::run(
            meetings, [](const fs::path&) { return false; },
            [durability](const fs::path& caf, const fs::path& m4a) { return convert(caf, m4a, durability); }, clock);
    }

    powercut::History recordHealing(Durability durability) {
        return record([&] { heal(folder.path, durability); });
    }
};

TEST_F(HealingPowerCutTest, HealingCanBeCutAnywhereAndEndsInTheSameState) {
    const auto history = recordHealing(Durability::Flushed);
    const auto healed = powercut::History::contentsOf(folder.path);
    ASSERT_TRUE(healed.contains("2025_03_07_0930_未命名/mic.m4a"));
    ASSERT_TRUE(healed.contains("2025_03_07_1030_練習/meta.json"));
    EXPECT_EQ(tryCuts(history,
                      [&](const Cut& cut) {
                          heal(cut.folder, Durability::Flushed);
                          const auto again = powercut::History::contentsOf(cut.folder);
                          return again == healed ? "" : "healed again, it is another state";
                      }),
              "");
}

TEST_F(HealingPowerCutTest, NoSoundIsEverLost) {
    const auto history = recordHealing(Durability::Flushed);
    EXPECT_EQ(tryCuts(history,
                      [](const Cut& cut) {
                          std::multiset<std::string> sounds;
                          for (const auto& [name, content] : powercut::History::contentsOf(cut.folder)) {
                              sounds.insert(content);
                          }
                          return sounds.contains("file 90.5") && sounds.contains("file 60.5") &&
                                         sounds.contains("file 30.5")
                                     ? ""
                                     : "sound is lost";
                      }),
              "");
}

TEST_F(HealingPowerCutTest, AConverterThatDoesNotFlushIsFound) {
    const auto history = recordHealing(Durability::NotFlushed);
    EXPECT_NE(tryCuts(history,
                      [](const Cut& cut) {
                          for (const auto& [name, content] : powercut::History::contentsOf(cut.folder)) {
                              if (content == "file 90.5") {
                                  return "";
                              }
                          }
                          return "sound is lost";
                      }),
              "");
}

} // namespace
