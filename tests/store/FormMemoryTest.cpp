#include "store/FormMemory.h"

#include "fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
namespace FormMemory = store::FormMemory;

namespace {

class FormMemoryTest : public testing::Test {
protected:
    fakes::TemporaryFolder folder;
    base::PreferenceStore defaults{folder / "preferences.json"};
};

TEST_F(FormMemoryTest, RemembersTypeAndPeopleButNotTheNote) {
    FormMemory::save({u"Work"_s, {u"Ann"_s, u"Bob"_s}, u"budget"_s}, defaults);
    EXPECT_EQ(FormMemory::type(defaults, {u"Personal"_s, u"Work"_s}), u"Work"_s);
    EXPECT_EQ(FormMemory::people(defaults), (QStringList{u"Ann"_s, u"Bob"_s}));
    EXPECT_FALSE(base::readFile(defaults.file()).value_or("").contains("budget"));
}

TEST_F(FormMemoryTest, StoresUnderItsOwnKeys) {
    FormMemory::save({u"Work"_s, {u"Ann"_s}, {}}, defaults);
    EXPECT_EQ(defaults.string(u"lastMeetingType"_s), u"Work"_s);
    EXPECT_EQ(defaults.stringList(u"lastMeetingPeople"_s), QStringList{u"Ann"_s});
}

TEST_F(FormMemoryTest, ATypeThatIsGoneIsNone) {
    FormMemory::save({u"Work"_s, {}, {}}, defaults);
    EXPECT_EQ(FormMemory::type(defaults, {u"Personal"_s, u"work"_s}), std::nullopt);
    EXPECT_EQ(FormMemory::type(defaults, {}), std::nullopt);
    EXPECT_FALSE(FormMemory::uncategorized(defaults));
}

TEST_F(FormMemoryTest, AFormSavedWithoutATypeIsUncategorized) {
    FormMemory::save({std::nullopt, {}, {}}, defaults);
    EXPECT_TRUE(FormMemory::uncategorized(defaults));
    EXPECT_EQ(defaults.string(u"lastMeetingType"_s), u""_s);
    EXPECT_EQ(FormMemory::type(defaults, {u"Work"_s}), std::nullopt);
    EXPECT_EQ(FormMemory::type(defaults, {u"Work"_s, u""_s}), u""_s);
}

TEST_F(FormMemoryTest, BeforeTheFirstFormNothingIsStored) {
    EXPECT_FALSE(FormMemory::uncategorized(defaults));
    EXPECT_EQ(FormMemory::type(defaults, {u"Work"_s}), std::nullopt);
    EXPECT_EQ(FormMemory::people(defaults), QStringList());
}

TEST_F(FormMemoryTest, ValuesOfAnotherTypeCountAsNone) {
    defaults.set(FormMemory::typeKey, true);
    defaults.set(FormMemory::peopleKey, u"Ann"_s);
    EXPECT_FALSE(FormMemory::uncategorized(defaults));
    EXPECT_EQ(FormMemory::type(defaults, {u"Work"_s}), std::nullopt);
    EXPECT_EQ(FormMemory::people(defaults), QStringList());
}

} // namespace
