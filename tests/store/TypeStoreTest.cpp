#include "store/TypeStore.h"

#include "store/BadFiles.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using store::MeetingType;
using store::TypeError;
using store::TypeFailure;
using store::TypeRename;
using store::TypesFile;
using store::TypeStore;
using Kind = TypeError::Kind;

namespace {

class TypeStoreTest : public testing::Test {
protected:
    void write(const QByteArray& bytes) { ASSERT_TRUE(base::replaceFile(path, bytes)); }

    void write(const std::vector<MeetingType>& list) { write(TypesFile{list}.data()); }

    [[nodiscard]] QByteArray bytes() const { return base::readFile(path).value_or("unreadable"); }

    [[nodiscard]] TypesFile onDisk() const { return TypesFile::decode(bytes()).value_or(TypesFile{}); }

    fakes::TemporaryFolder folder;
    base::fs::path path = folder / "types.json";
    base::fs::path meetings = folder / "meetings";
    TypeStore types{path};
    const MeetingType work{u"Work"_s, u"blue"_s};
    const MeetingType home{u"Home"_s, u"green"_s};
    const MeetingType club{u"Club"_s, u"teal"_s};
};

TEST_F(TypeStoreTest, HoldsTheSeedBeforeTheDiskIsTouched) {
    write({work});
    EXPECT_EQ(types.file(), TypesFile::seed());
    EXPECT_TRUE(types.readable());
    EXPECT_EQ(types.url(), path);
}

TEST_F(TypeStoreTest, LoadsTheListInItsOrder) {
    write({club, work});
    types.load();
    EXPECT_EQ(types.names(), (QStringList{u"Club"_s, u"Work"_s}));
    EXPECT_TRUE(types.readable());
}

TEST_F(TypeStoreTest, FindsATypeByItsExactName) {
    write({work, club});
    types.load();
    EXPECT_EQ(types.type(u"Club"), club);
    EXPECT_EQ(types.type(u"club"), std::nullopt);
}

TEST_F(TypeStoreTest, ADeletedFileBringsTheSeedBackWithoutWritingIt) {
    write({work});
    types.load();
    base::fs::remove(path);
    types.load();
    EXPECT_EQ(types.file(), TypesFile::seed());
    EXPECT_TRUE(types.readable());
    EXPECT_FALSE(base::fs::exists(path));
}

TEST_F(TypeStoreTest, EnsuringWritesTheSeedAndItsFolders) {
    TypeStore elsewhere(folder / "a" / "b" / "types.json");
    elsewhere.ensureFile();
    EXPECT_EQ(base::readFile(elsewhere.url()).value_or(""), TypesFile::seed().data());
}

TEST_F(TypeStoreTest, EnsuringLeavesAFileThatIsThere) {
    for (const QByteArray content : {R"({"types": []})", "{", ""}) {
        write(content);
        types.ensureFile();
        EXPECT_EQ(bytes(), content);
    }
}

TEST_F(TypeStoreTest, EveryDamagedFileShowsNoTypesAndStaysAsItIs) {
    for (const auto& bad : badfiles::contents("types", R"([{"name":"Work","color":"blue"}])")) {
        write(bad.bytes);
        types.load();
        EXPECT_FALSE(types.readable()) << bad.name;
        EXPECT_EQ(types.file(), TypesFile{}) << bad.name;
        EXPECT_FALSE(types.add(u"Club"_s)) << bad.name;
        types.ensureFile();
        EXPECT_EQ(bytes(), bad.bytes) << bad.name;
    }
}

TEST_F(TypeStoreTest, WhatIsNoReadableFileShowsNoTypesAndStaysAsItIs) {
    for (const auto obstacle : badfiles::obstacles) {
        badfiles::put(obstacle, path);
        types.load();
        EXPECT_FALSE(types.readable()) << static_cast<int>(obstacle);
        EXPECT_EQ(types.file(), TypesFile{}) << static_cast<int>(obstacle);
        EXPECT_FALSE(types.add(u"Club"_s)) << static_cast<int>(obstacle);
        types.ensureFile();
        EXPECT_TRUE(badfiles::stands(obstacle, path)) << static_cast<int>(obstacle);
        base::fs::remove_all(path);
    }
}

TEST_F(TypeStoreTest, EveryChangeOfAnUnreadableListFailsAsSuch) {
    write("{");
    const TypeFailure unreadable = TypeError{Kind::unreadable, {}};
    EXPECT_EQ(types.add(u"Club"_s).error(), unreadable);
    EXPECT_EQ(types.startRename(u"Work"_s, u"Job"_s, meetings).error(), unreadable);
    EXPECT_EQ(types.startRemoval(u"Work"_s, meetings).error(), unreadable);
    EXPECT_EQ(types.setColor(u"pink"_s, u"Work").error(), unreadable);
    EXPECT_EQ(types.move(0, 1).error(), unreadable);
    EXPECT_EQ(types.move(9, 1).error(), unreadable);
    EXPECT_EQ(bytes(), "{");
}

TEST_F(TypeStoreTest, TheNextColorIsTheFirstThatIsFree) {
    EXPECT_EQ(types.nextColor(), u"orange"_s); // the seed has blue and green

    write(std::vector<MeetingType>{});
    types.load();
    EXPECT_EQ(types.nextColor(), u"blue"_s);

    write({work, home, {u"c"_s, u"orange"_s}, {u"d"_s, u"pink"_s}, {u"e"_s, u"purple"_s}});
    types.load();
    EXPECT_EQ(types.nextColor(), u"gray"_s);

    write({work, home, {u"c"_s, u"orange"_s}, {u"d"_s, u"pink"_s}, {u"e"_s, u"purple"_s}, {u"f"_s, u"gray"_s}});
    types.load();
    EXPECT_EQ(types.nextColor(), u"gray"_s);
}

TEST_F(TypeStoreTest, AColorIsFreeAgainAfterItsTypeWasRemoved) {
    write({work, home, {u"c"_s, u"orange"_s}});
    ASSERT_TRUE(types.startRemoval(u"Home"_s, meetings));
    EXPECT_EQ(types.nextColor(), u"green"_s);
}

TEST_F(TypeStoreTest, AnUnknownColorUsesUpNothing) {
    write({club, {u"Blue"_s, u"Blue"_s}});
    types.load();
    EXPECT_EQ(types.nextColor(), u"blue"_s);
}

TEST_F(TypeStoreTest, AddingStoresAndReturnsTheTrimmedNameWithTheNextColor) {
    write({work});
    const auto added = types.add(u"  Club \n"_s);
    ASSERT_TRUE(added);
    EXPECT_EQ(*added, u"Club"_s);
    EXPECT_EQ(onDisk(), (TypesFile{{work, {u"Club"_s, u"green"_s}}}));
    EXPECT_EQ(types.file(), onDisk());
}

TEST_F(TypeStoreTest, AddingTakesAnyColorItIsGiven) {
    write({work});
    ASSERT_TRUE(types.add(u"Club"_s, u"teal"_s));
    EXPECT_EQ(types.type(u"Club"), club);
}

TEST_F(TypeStoreTest, AddingWithoutAFileExtendsTheSeed) {
    ASSERT_TRUE(types.add(u"Club"_s, u"teal"_s));
    auto wanted = TypesFile::seed();
    wanted.types.push_back(club);
    EXPECT_EQ(onDisk(), wanted);
}

TEST_F(TypeStoreTest, AddingKeepsWhatWasWrittenByHandSince) {
    write({work});
    types.load();
    write({home, work});
    ASSERT_TRUE(types.add(u"Club"_s, u"teal"_s));
    EXPECT_EQ(onDisk(), (TypesFile{{home, work, club}}));
}

TEST_F(TypeStoreTest, AddingAKnownNameInAnotherCaseFailsWithItsSpelling) {
    write({home, work});
    const auto before = bytes();
    EXPECT_EQ(types.add(u" WORK"_s).error(), TypeFailure(TypeError{Kind::duplicate, u"Work"_s}));
    EXPECT_EQ(bytes(), before);
}

TEST_F(TypeStoreTest, AddingAnEmptyNameFails) {
    write({work});
    EXPECT_EQ(types.add(u" \t\n"_s).error(), TypeFailure(TypeError{Kind::empty, {}}));
}

TEST_F(TypeStoreTest, AddingAReservedNameFails) {
    write({work});
    EXPECT_EQ(types.add(u" 未分類 "_s).error(), TypeFailure(TypeError{Kind::reserved, {}}));
    EXPECT_EQ(types.add(u"練習"_s).error(), TypeFailure(TypeError{Kind::reservedPractice, {}}));
    EXPECT_TRUE(types.add(u"練習二"_s));
}

TEST_F(TypeStoreTest, AFailedWriteLeavesTheListAsItWasRead) {
    TypeStore elsewhere(folder / "no" / "types.json");
    const auto seedName = TypesFile::seed().types.front().name;
    EXPECT_TRUE(std::holds_alternative<base::FileError>(elsewhere.add(u"Club"_s).error()));
    EXPECT_TRUE(std::holds_alternative<base::FileError>(elsewhere.setColor(u"pink"_s, seedName).error()));
    EXPECT_TRUE(std::holds_alternative<base::FileError>(elsewhere.move(0, 1).error()));
    EXPECT_TRUE(std::holds_alternative<base::FileError>(elsewhere.startRename(seedName, u"Job"_s, meetings).error()));
    EXPECT_TRUE(std::holds_alternative<base::FileError>(elsewhere.startRemoval(seedName, meetings).error()));
    EXPECT_EQ(elsewhere.file(), TypesFile::seed());
}

TEST_F(TypeStoreTest, RenamingKeepsColorAndPlace) {
    write({home, work, club});
    const auto renamed = types.startRename(u"Work"_s, u" Job "_s, meetings);
    ASSERT_TRUE(renamed);
    EXPECT_EQ(*renamed, (TypeRename{meetings, u"Work"_s, u"Job"_s}));
    EXPECT_EQ(onDisk(), (TypesFile{{home, {u"Job"_s, u"blue"_s}, club}}));
    EXPECT_EQ(types.file(), onDisk());
}

TEST_F(TypeStoreTest, RenamingMayChangeTheCaseOfTheOwnName) {
    write({work});
    const auto renamed = types.startRename(u"Work"_s, u"WORK"_s, meetings);
    ASSERT_TRUE(renamed);
    EXPECT_EQ(*renamed, (TypeRename{meetings, u"Work"_s, u"WORK"_s}));
    EXPECT_EQ(types.names(), QStringList{u"WORK"_s});
}

TEST_F(TypeStoreTest, RenamingToTheSameNameWritesNothing) {
    const QByteArray byHand = R"({"types":[{"name":"Work","color":"blue"}]})";
    write(byHand);
    const auto renamed = types.startRename(u"Work"_s, u" Work "_s, meetings);
    ASSERT_TRUE(renamed);
    EXPECT_EQ(*renamed, std::nullopt);
    EXPECT_EQ(bytes(), byHand);
}

TEST_F(TypeStoreTest, RenamingToAnotherTypesNameFailsAndChangesNothing) {
    write({work, home});
    const auto before = bytes();
    EXPECT_EQ(types.startRename(u"Work"_s, u"hOME"_s, meetings).error(),
              TypeFailure(TypeError{Kind::duplicate, u"Home"_s}));
    EXPECT_EQ(bytes(), before);
    EXPECT_EQ(types.names(), (QStringList{u"Work"_s, u"Home"_s}));
}

TEST_F(TypeStoreTest, RenamingStopsAtTheFirstNameThatDiffersInCaseAlone) {
    write({{u"WORK"_s, u"blue"_s}, {u"Work"_s, u"pink"_s}}); // only a hand can write such a list
    EXPECT_EQ(types.startRename(u"Work"_s, u"work"_s, meetings).error(),
              TypeFailure(TypeError{Kind::duplicate, u"WORK"_s}));
    EXPECT_TRUE(types.startRename(u"WORK"_s, u"work"_s, meetings));
}

TEST_F(TypeStoreTest, RenamingToNothingOrToAReservedNameFails) {
    write({work});
    EXPECT_EQ(types.startRename(u"Work"_s, u" "_s, meetings).error(), TypeFailure(TypeError{Kind::empty, {}}));
    EXPECT_EQ(types.startRename(u"Work"_s, u"未分類"_s, meetings).error(), TypeFailure(TypeError{Kind::reserved, {}}));
    EXPECT_EQ(types.startRename(u"Work"_s, u"練習"_s, meetings).error(),
              TypeFailure(TypeError{Kind::reservedPractice, {}}));
    EXPECT_EQ(types.names(), QStringList{u"Work"_s});
}

TEST_F(TypeStoreTest, ATypeThatIsNotThereCanBeNeitherRenamedNorRemovedNorColored) {
    write({work});
    const TypeFailure missing = TypeError{Kind::missing, u"work"_s};
    EXPECT_EQ(types.startRename(u"work"_s, u"Job"_s, meetings).error(), missing);
    EXPECT_EQ(types.startRename(u"work"_s, u" "_s, meetings).error(), missing);
    EXPECT_EQ(types.startRemoval(u"work"_s, meetings).error(), missing);
    EXPECT_EQ(types.setColor(u"pink"_s, u"work").error(), missing);
}

TEST_F(TypeStoreTest, RemovingTakesOutEveryTypeOfThatName) {
    write({work, home, {u"Work"_s, u"pink"_s}, {u"work"_s, u"gray"_s}});
    const auto removed = types.startRemoval(u"Work"_s, meetings);
    ASSERT_TRUE(removed);
    EXPECT_EQ(*removed, (TypeRename{meetings, u"Work"_s, std::nullopt}));
    EXPECT_EQ(onDisk(), (TypesFile{{home, {u"work"_s, u"gray"_s}}}));
}

TEST_F(TypeStoreTest, RemovingTheLastTypeLeavesAnEmptyListThatStaysEmpty) {
    write({work});
    ASSERT_TRUE(types.startRemoval(u"Work"_s, meetings));
    EXPECT_EQ(bytes(), "{\n  \"types\" : []\n}");
    types.load();
    EXPECT_EQ(types.file(), TypesFile{});
    EXPECT_TRUE(types.readable());
}

TEST_F(TypeStoreTest, AColorIsSetWithoutBeingChecked) {
    write({home, work});
    ASSERT_TRUE(types.setColor(u"teal"_s, u"Work"));
    EXPECT_EQ(onDisk(), (TypesFile{{home, {u"Work"_s, u"teal"_s}}}));
}

TEST_F(TypeStoreTest, MovingBeyondAnEndGoesToThatEnd) {
    write({work, home, club});
    ASSERT_TRUE(types.move(0, 99));
    EXPECT_EQ(onDisk(), (TypesFile{{home, club, work}}));
    ASSERT_TRUE(types.move(1, -4));
    EXPECT_EQ(onDisk(), (TypesFile{{club, home, work}}));
}

TEST_F(TypeStoreTest, MovingCountsThePlacesOfTheOthers) {
    write({work, home, club});
    ASSERT_TRUE(types.move(0, 1));
    EXPECT_EQ(onDisk(), (TypesFile{{home, work, club}}));
    ASSERT_TRUE(types.move(2, 0));
    EXPECT_EQ(onDisk(), (TypesFile{{club, home, work}}));
    ASSERT_TRUE(types.move(0, 2));
    EXPECT_EQ(onDisk(), (TypesFile{{home, work, club}}));
}

TEST_F(TypeStoreTest, MovingFromNowhereDoesNothing) {
    const QByteArray byHand = R"({"types":[{"name":"Work","color":"blue"}]})";
    write(byHand);
    EXPECT_TRUE(types.move(5, 0));
    EXPECT_TRUE(types.move(1, 0));
    EXPECT_TRUE(types.move(-1, 0));
    EXPECT_EQ(bytes(), byHand);
}

} // namespace
