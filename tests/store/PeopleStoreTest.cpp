#include "store/PeopleStore.h"

#include "copy/Strings.h"
#include "store/BadFiles.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using store::PeopleError;
using store::PeopleStore;

namespace {

class PeopleStoreTest : public testing::Test {
protected:
    void write(const QByteArray& bytes) { ASSERT_TRUE(base::replaceFile(path, bytes)); }

    [[nodiscard]] QByteArray bytes() const { return base::readFile(path).value_or("unreadable"); }

    fakes::TemporaryFolder folder;
    base::fs::path path = folder / "people.json";
    PeopleStore people{path};
};

TEST_F(PeopleStoreTest, IsEmptyAndReadableBeforeTheDiskIsTouched) {
    write(R"({"people": ["Ann"]})");
    EXPECT_EQ(people.names(), QStringList());
    EXPECT_TRUE(people.readable());
    EXPECT_EQ(people.url(), path);
}

TEST_F(PeopleStoreTest, LoadsTheNamesInTheirOrder) {
    write(R"({"people": ["Bob", "Ann"]})");
    people.load();
    EXPECT_EQ(people.names(), (QStringList{u"Bob"_s, u"Ann"_s}));
    EXPECT_TRUE(people.readable());
}

TEST_F(PeopleStoreTest, AMissingFileIsAnEmptyList) {
    write(R"({"people": ["Ann"]})");
    people.load();
    base::fs::remove(path);
    people.load();
    EXPECT_EQ(people.names(), QStringList());
    EXPECT_TRUE(people.readable());
}

TEST_F(PeopleStoreTest, AMissingFolderIsAnEmptyList) {
    PeopleStore elsewhere(folder / "no" / "people.json");
    elsewhere.load();
    EXPECT_TRUE(elsewhere.readable());
}

TEST_F(PeopleStoreTest, BecomesReadableAgainWhenTheFileWasMended) {
    write("{");
    people.load();
    EXPECT_FALSE(people.readable());
    write(R"({"people": ["Ann"]})");
    people.load();
    EXPECT_TRUE(people.readable());
    EXPECT_EQ(people.names(), QStringList{u"Ann"_s});
}

TEST_F(PeopleStoreTest, AddingGivesTheTrimmedNameAndWritesIt) {
    const auto added = people.add(u"  Ann\n"_s);
    ASSERT_TRUE(added);
    EXPECT_EQ(*added, u"Ann"_s);
    EXPECT_EQ(people.names(), QStringList{u"Ann"_s});
    EXPECT_EQ(bytes(), "{\n  \"people\" : [\n    \"Ann\"\n  ]\n}");
}

TEST_F(PeopleStoreTest, AddingAKnownNameIsNoFailureAndWritesNothing) {
    const QByteArray byHand = R"({"people": ["ann"]})";
    write(byHand);
    const auto added = people.add(u"ANN"_s);
    ASSERT_TRUE(added);
    EXPECT_EQ(*added, std::nullopt);
    EXPECT_EQ(people.names(), QStringList{u"ann"_s});
    EXPECT_EQ(bytes(), byHand);
}

TEST_F(PeopleStoreTest, AddingAnEmptyNameIsNoFailureAndMakesNoFile) {
    const auto added = people.add(u"  "_s);
    ASSERT_TRUE(added);
    EXPECT_EQ(*added, std::nullopt);
    EXPECT_FALSE(base::fs::exists(path));
}

TEST_F(PeopleStoreTest, AddingKeepsWhatWasWrittenByHandSince) {
    ASSERT_TRUE(people.add(u"Ann"_s));
    write(R"({"people": ["Ann", "Cleo"]})");
    ASSERT_TRUE(people.add(u"Bob"_s));
    EXPECT_EQ(people.names(), (QStringList{u"Ann"_s, u"Cleo"_s, u"Bob"_s}));
}

TEST_F(PeopleStoreTest, AddingToAFileThatHoldsANumberFailsAndLeavesIt) {
    const QByteArray byHand = R"({"people": 3})";
    write(byHand);
    const auto added = people.add(u"Ann"_s);
    ASSERT_FALSE(added);
    EXPECT_EQ(added.error(), store::PeopleFailure(PeopleError::unreadable));
    EXPECT_EQ(bytes(), byHand);
    EXPECT_EQ(people.names(), QStringList());
    EXPECT_FALSE(people.readable());
}

TEST_F(PeopleStoreTest, AFailedWriteLeavesTheListAsItWasRead) {
    PeopleStore elsewhere(folder / "no" / "people.json");
    const auto added = elsewhere.add(u"Ann"_s);
    ASSERT_FALSE(added);
    ASSERT_TRUE(std::holds_alternative<base::FileError>(added.error()));
    EXPECT_EQ(elsewhere.names(), QStringList());
    EXPECT_TRUE(elsewhere.readable());
}

TEST_F(PeopleStoreTest, EnsuringMakesTheFileAndItsFolders) {
    PeopleStore elsewhere(folder / "a" / "b" / "people.json");
    elsewhere.ensureFile();
    EXPECT_EQ(base::readFile(elsewhere.url()).value_or("none"), "{\n  \"people\" : []\n}");
    elsewhere.load();
    EXPECT_TRUE(elsewhere.readable());
}

TEST_F(PeopleStoreTest, EnsuringLeavesAFileThatIsThere) {
    for (const QByteArray content : {R"({"people": ["Ann"]})", "{", ""}) {
        write(content);
        people.ensureFile();
        EXPECT_EQ(bytes(), content);
    }
}

TEST_F(PeopleStoreTest, EnsuringBearsAFolderThatCantBeMade) {
    write("{}");
    PeopleStore below(path / "people.json");
    below.ensureFile();
    EXPECT_EQ(bytes(), "{}");
}

TEST_F(PeopleStoreTest, TextsOfFailures) {
    EXPECT_EQ(errorDescription(PeopleError::unreadable), copy::Strings::peopleBroken);
    EXPECT_EQ(store::errorText(PeopleError::unreadable), copy::Strings::peopleBroken);
    EXPECT_EQ(store::errorText(base::FileError{.text = u"no room"_s}), u"名字存不進 people.json：no room"_s);
}

TEST_F(PeopleStoreTest, EveryDamagedFileIsUnreadableAndStaysAsItIs) {
    for (const auto& bad : badfiles::contents("people", R"(["Ann"])")) {
        write(bad.bytes);
        people.load();
        EXPECT_FALSE(people.readable()) << bad.name;
        EXPECT_EQ(people.names(), QStringList()) << bad.name;
        EXPECT_FALSE(people.add(u"Ann"_s)) << bad.name;
        people.ensureFile();
        EXPECT_EQ(bytes(), bad.bytes) << bad.name;
    }
}

TEST_F(PeopleStoreTest, WhatIsNoReadableFileIsUnreadableAndStaysAsItIs) {
    for (const auto obstacle : badfiles::obstacles) {
        badfiles::put(obstacle, path);
        people.load();
        EXPECT_FALSE(people.readable()) << static_cast<int>(obstacle);
        EXPECT_FALSE(people.add(u"Ann"_s)) << static_cast<int>(obstacle);
        people.ensureFile();
        EXPECT_TRUE(badfiles::stands(obstacle, path)) << static_cast<int>(obstacle);
        base::fs::remove_all(path);
    }
}

} // namespace
