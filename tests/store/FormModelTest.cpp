#include "store/FormModel.h"

#include "copy/Strings.h"
#include "fakes/TemporaryFolder.h"
#include "store/FormMemory.h"

#include <gtest/gtest.h>

#include <memory>

using namespace Qt::StringLiterals;
using store::FormModel;
using store::FormPerson;
using store::FormTypeItem;
using store::MeetingAnswers;
using Kind = FormTypeItem::Kind;
namespace FormMemory = store::FormMemory;
namespace Strings = copy::Strings;

namespace {

class FormModelTest : public testing::Test {
protected:
    void SetUp() override {
        writeTypes(R"({"types":[{"name":"Work","color":"blue"},{"name":"Home","color":"teal"}]})");
        writePeople(R"({"people":["Ann","Bob","Cleo"]})");
    }

    void writeTypes(const QByteArray& bytes) { ASSERT_TRUE(base::replaceFile(types.url(), bytes)); }

    void writePeople(const QByteArray& bytes) { ASSERT_TRUE(base::replaceFile(people.url(), bytes)); }

    /// The form as it opens now, with its callbacks counted.
    FormModel& open() {
        form = std::make_unique<FormModel>(people, types, defaults);
        form->onFinish = [this](std::optional<MeetingAnswers> given) {
            ++finishes;
            answers = std::move(given);
        };
        form->onTypesChanged = [this] { ++typeChanges; };
        form->onChange = [this] { ++changes; };
        return *form;
    }

    fakes::TemporaryFolder folder;
    store::PeopleStore people{folder / "people.json"};
    store::TypeStore types{folder / "types.json"};
    base::PreferenceStore defaults{folder / "preferences.json"};
    std::unique_ptr<FormModel> form;
    std::optional<MeetingAnswers> answers;
    int finishes = 0;
    int typeChanges = 0;
    int changes = 0;
};

constexpr std::size_t workItem = 0;
constexpr std::size_t homeItem = 1;
constexpr std::size_t uncategorizedItem = 2;
constexpr std::size_t separatorItem = 3;
constexpr std::size_t newTypeItem = 4;

// Opening

TEST_F(FormModelTest, OffersTheTypesThenUncategorizedThenTheNewType) {
    const std::vector<FormTypeItem> wanted{{Kind::Type, u"Work"_s, u"blue"_s},
                                           {Kind::Type, u"Home"_s, u"teal"_s},
                                           {Kind::Uncategorized, u"未分類"_s, {}},
                                           {Kind::Separator, {}, {}},
                                           {Kind::NewType, u"新增類型…"_s, {}}};
    EXPECT_EQ(open().typeItems(), wanted);
}

TEST_F(FormModelTest, OpensOnTheFirstTypeBeforeAnyFormWasSaved) {
    EXPECT_EQ(open().pickedType(), u"Work"_s);
    EXPECT_EQ(form->selectedType(), workItem);
    EXPECT_EQ(form->checkedNames(), QStringList());
    EXPECT_EQ(form->note(), QString());
    EXPECT_EQ(form->newName(), QString());
    EXPECT_EQ(form->message(), QString());
    EXPECT_FALSE(form->finished());
}

TEST_F(FormModelTest, OpensAsTheLastOneWasAnswered) {
    FormMemory::save({u"Home"_s, {u"Cleo"_s, u"Ann"_s}, u"budget"_s}, defaults);
    EXPECT_EQ(open().pickedType(), u"Home"_s);
    EXPECT_EQ(form->checkedNames(), (QStringList{u"Ann"_s, u"Cleo"_s}));
    EXPECT_EQ(form->note(), QString());
}

TEST_F(FormModelTest, OpensUncategorizedWhenTheLastOneWasSavedSo) {
    FormMemory::save({std::nullopt, {}, {}}, defaults);
    EXPECT_EQ(open().selectedType(), uncategorizedItem);
    EXPECT_EQ(form->pickedType(), std::nullopt);
}

TEST_F(FormModelTest, OpensOnTheFirstTypeWhenTheLastOneIsGone) {
    FormMemory::save({u"Club"_s, {}, {}}, defaults);
    EXPECT_EQ(open().pickedType(), u"Work"_s);
}

TEST_F(FormModelTest, OpensUncategorizedWithoutAnyTypes) {
    writeTypes(R"({"types":[]})");
    EXPECT_EQ(open().selectedType(), 0U);
    EXPECT_EQ(form->pickedType(), std::nullopt);
    EXPECT_EQ(form->typeItems().size(), 3U);
}

TEST_F(FormModelTest, ReadsTheTypesAnew) {
    types.load();
    writeTypes(R"({"types":[{"name":"Club","color":"pink"}]})");
    EXPECT_EQ(open().pickedType(), u"Club"_s);
}

TEST_F(FormModelTest, ListsPeopleInTheOrderOfTheFile) {
    FormMemory::save({std::nullopt, {u"Bob"_s}, {}}, defaults);
    const std::vector<FormPerson> wanted{{u"Ann"_s, false}, {u"Bob"_s, true}, {u"Cleo"_s, false}};
    EXPECT_EQ(open().personItems(), wanted);
}

TEST_F(FormModelTest, ARememberedPersonWhoIsGoneIsNeitherShownNorSaved) {
    FormMemory::save({u"Work"_s, {u"Dora"_s, u"Bob"_s}, {}}, defaults);
    EXPECT_EQ(open().personItems().size(), 3U);
    form->save();
    EXPECT_EQ(answers->people, QStringList{u"Bob"_s});
    EXPECT_EQ(FormMemory::people(defaults), QStringList{u"Bob"_s});
}

TEST_F(FormModelTest, APersonIsTickedByTheExactName) {
    FormMemory::save({u"Work"_s, {u"ann"_s}, {}}, defaults);
    EXPECT_EQ(open().checkedNames(), QStringList());
}

// Unreadable files

TEST_F(FormModelTest, UnreadablePeopleAreSaidAndLeaveTheRestWorking) {
    writePeople("{");
    FormMemory::save({u"Home"_s, {u"Ann"_s}, {}}, defaults);
    EXPECT_EQ(open().message(), Strings::peopleBroken);
    EXPECT_TRUE(form->personItems().empty());
    form->setNote(u"budget"_s);
    form->save();
    EXPECT_EQ(answers, (MeetingAnswers{u"Home"_s, {}, u"budget"_s}));
    EXPECT_EQ(base::readFile(people.url()).value_or(""), "{");
}

TEST_F(FormModelTest, UnreadableTypesAreSaidAndLeaveOnlyUncategorized) {
    writeTypes("{");
    EXPECT_EQ(open().message(), Strings::typesBroken);
    EXPECT_EQ(form->pickedType(), std::nullopt);
    EXPECT_EQ(form->typeItems().front().kind, Kind::Uncategorized);
    form->setChecked(1, true);
    form->save();
    EXPECT_EQ(answers, (MeetingAnswers{std::nullopt, {u"Bob"_s}, {}}));
}

TEST_F(FormModelTest, BothUnreadableAreSaidOnePerLine) {
    writePeople("{");
    writeTypes("{");
    EXPECT_EQ(open().message(), u"people.json 讀不懂，先修好檔案再加名字\ntypes.json 讀不懂，先修好檔案再改類型"_s);
}

// Adding a name

TEST_F(FormModelTest, AnAddedNameIsTickedAndTheOtherTicksStay) {
    open().setChecked(1, true);
    form->setNewName(u"  Dora\t"_s);
    form->addName();
    EXPECT_EQ(form->checkedNames(), (QStringList{u"Bob"_s, u"Dora"_s}));
    EXPECT_EQ(people.names(), (QStringList{u"Ann"_s, u"Bob"_s, u"Cleo"_s, u"Dora"_s}));
    EXPECT_EQ(form->newName(), QString());
    EXPECT_EQ(changes, 1);
}

TEST_F(FormModelTest, AKnownNameIsTickedInItsOwnSpelling) {
    const auto before = base::readFile(people.url());
    open().setNewName(u"ann"_s);
    form->addName();
    EXPECT_EQ(form->checkedNames(), QStringList{u"Ann"_s});
    EXPECT_EQ(form->newName(), QString());
    EXPECT_EQ(base::readFile(people.url()), before);
}

TEST_F(FormModelTest, AnEmptyNameDoesNothing) {
    writePeople("{");
    open().setNewName(u" \t\n"_s);
    form->addName();
    EXPECT_EQ(form->newName(), u" \t\n"_s);
    EXPECT_EQ(form->message(), Strings::peopleBroken);
    EXPECT_EQ(changes, 0);
}

TEST_F(FormModelTest, ANameThatCantBeAddedStaysInItsField) {
    open();
    writePeople("{");
    form->setNewName(u"Dora"_s);
    form->addName();
    EXPECT_EQ(form->message(), Strings::peopleBroken);
    EXPECT_EQ(form->newName(), u"Dora"_s);
    EXPECT_EQ(form->personItems().size(), 3U);
    EXPECT_EQ(base::readFile(people.url()).value_or(""), "{");
}

TEST_F(FormModelTest, ANameThatTheDiskRefusesIsSaidWithItsReason) {
    store::PeopleStore nowhere(folder / "no" / "people.json");
    FormModel lost(nowhere, types, defaults);
    lost.setNewName(u"Dora"_s);
    lost.addName();
    EXPECT_EQ(lost.message(), Strings::peopleWriteFailed(base::fileError(ENOENT).text));
    EXPECT_EQ(lost.newName(), u"Dora"_s);
}

TEST_F(FormModelTest, AnAddedNameClearsTheMessage) {
    writeTypes("{");
    open().setNewName(u"Dora"_s);
    form->addName();
    EXPECT_EQ(form->message(), QString());
}

TEST_F(FormModelTest, NamesAddedByHandMeanwhileAppear) {
    open().setChecked(0, true);
    writePeople(R"({"people":["Zoe","Ann"]})");
    form->setNewName(u"Dora"_s);
    form->addName();
    const std::vector<FormPerson> wanted{{u"Zoe"_s, false}, {u"Ann"_s, true}, {u"Dora"_s, true}};
    EXPECT_EQ(form->personItems(), wanted);
}

// Picking a type

TEST_F(FormModelTest, APickedEntryIsTheAnswer) {
    EXPECT_EQ(open().pickType(homeItem), FormModel::Picked::Entry);
    EXPECT_EQ(form->pickedType(), u"Home"_s);
    EXPECT_EQ(form->pickType(uncategorizedItem), FormModel::Picked::Entry);
    EXPECT_EQ(form->pickedType(), std::nullopt);
}

TEST_F(FormModelTest, TheNewTypeEntryAsksAndLeavesThePickAsItWas) {
    open().pickType(homeItem);
    EXPECT_EQ(form->pickType(newTypeItem), FormModel::Picked::NewType);
    EXPECT_EQ(form->selectedType(), homeItem);
    EXPECT_EQ(changes, 1); // the window puts its list back
}

TEST_F(FormModelTest, TheSeparatorCantBePicked) {
    EXPECT_EQ(open().pickType(separatorItem), FormModel::Picked::Entry);
    EXPECT_EQ(form->selectedType(), workItem);
}

TEST_F(FormModelTest, AnAddedTypeIsPickedAndTold) {
    writePeople("{");
    open().addType(u" Club "_s);
    EXPECT_EQ(form->pickedType(), u"Club"_s);
    EXPECT_EQ(types.names(), (QStringList{u"Work"_s, u"Home"_s, u"Club"_s}));
    EXPECT_EQ(types.type(u"Club")->color, u"green"_s);
    EXPECT_EQ(form->message(), QString());
    EXPECT_EQ(typeChanges, 1);
}

TEST_F(FormModelTest, ARefusedTypeIsSaidAndThePickStays) {
    open().pickType(homeItem);
    form->addType(u"WORK"_s);
    EXPECT_EQ(form->message(), u"已經有「Work」了"_s);
    EXPECT_EQ(form->pickedType(), u"Home"_s);
    EXPECT_EQ(typeChanges, 0);
    form->addType(u" "_s);
    EXPECT_EQ(form->message(), Strings::typeEmptyName);
}

TEST_F(FormModelTest, ATypeThatTheDiskRefusesIsSaidInTheDisksWords) {
    store::TypeStore nowhere(folder / "no" / "types.json");
    FormModel lost(people, nowhere, defaults);
    lost.addType(u"Club"_s);
    EXPECT_EQ(lost.message(), base::fileError(ENOENT).text);
}

// Types that change elsewhere

TEST_F(FormModelTest, ATypeRenamedElsewhereStaysPicked) {
    open().pickType(homeItem);
    ASSERT_TRUE(types.startRename(u"Home"_s, u"House"_s, folder / "meetings"));
    form->typeRenamed(u"Home"_s, u"House"_s);
    EXPECT_EQ(form->pickedType(), u"House"_s);
}

TEST_F(FormModelTest, AnotherTypeRenamedElsewhereLeavesThePick) {
    open().pickType(homeItem);
    ASSERT_TRUE(types.startRename(u"Work"_s, u"Job"_s, folder / "meetings"));
    form->typeRenamed(u"Work"_s, u"Job"_s);
    EXPECT_EQ(form->pickedType(), u"Home"_s);
    EXPECT_EQ(form->typeItems().front().title, u"Job"_s);

    form->pickType(uncategorizedItem);
    form->typeRenamed(u"Work"_s, u"Job"_s);
    EXPECT_EQ(form->selectedType(), uncategorizedItem);
}

TEST_F(FormModelTest, ARenameAfterThePickedTypeWasRemovedLeavesNoType) {
    open().pickType(homeItem);
    ASSERT_TRUE(types.startRemoval(u"Home"_s, folder / "meetings"));
    ASSERT_TRUE(types.startRename(u"Work"_s, u"Job"_s, folder / "meetings"));
    form->typeRenamed(u"Work"_s, u"Job"_s);
    EXPECT_EQ(form->pickedType(), std::nullopt);
}

TEST_F(FormModelTest, ATypeRemovedMeanwhileIsNotSaved) {
    open().pickType(homeItem);
    writeTypes(R"({"types":[{"name":"Work","color":"blue"}]})");
    form->save();
    EXPECT_EQ(answers->type, std::nullopt);
    EXPECT_TRUE(FormMemory::uncategorized(defaults));
}

TEST_F(FormModelTest, APickedTypeIsKeptWhenTheListIsUnreadableAtTheEnd) {
    open().pickType(homeItem);
    writeTypes("{");
    form->save();
    EXPECT_EQ(answers->type, u"Home"_s);
    EXPECT_EQ(defaults.string(FormMemory::typeKey), u"Home"_s);
}

// Saving and skipping

TEST_F(FormModelTest, SavingGivesTheAnswersAsTheyStand) {
    open().pickType(homeItem);
    form->setChecked(2, true);
    form->setChecked(0, true);
    form->setNote(u"  budget \n"_s);
    form->save();
    EXPECT_EQ(answers, (MeetingAnswers{u"Home"_s, {u"Ann"_s, u"Cleo"_s}, u"  budget \n"_s}));
    EXPECT_TRUE(form->finished());
    EXPECT_EQ(defaults.string(FormMemory::typeKey), u"Home"_s);
    EXPECT_EQ(FormMemory::people(defaults), (QStringList{u"Ann"_s, u"Cleo"_s}));
}

TEST_F(FormModelTest, AnEmptyFormCanBeSaved) {
    open().pickType(uncategorizedItem);
    form->save();
    EXPECT_EQ(answers, MeetingAnswers{});
    EXPECT_EQ(finishes, 1);
}

TEST_F(FormModelTest, SavingTwiceFinishesOnce) {
    open().save();
    form->save();
    EXPECT_EQ(finishes, 1);
}

TEST_F(FormModelTest, ClosingTheWindowAfterSavingSkipsNothing) {
    open().save();
    form->skip();
    EXPECT_EQ(finishes, 1);
    EXPECT_TRUE(answers);
}

TEST_F(FormModelTest, SkippingGivesNoAnswersAndRemembersNothing) {
    open().setChecked(0, true);
    form->skip();
    EXPECT_EQ(finishes, 1);
    EXPECT_EQ(answers, std::nullopt);
    EXPECT_TRUE(form->finished());
    EXPECT_EQ(defaults.value(FormMemory::typeKey), std::nullopt);
    EXPECT_EQ(defaults.value(FormMemory::peopleKey), std::nullopt);
    form->save();
    EXPECT_EQ(finishes, 1);
}

TEST_F(FormModelTest, TheFormMayBeDestroyedByItsEnd) {
    open().onFinish = [this](const std::optional<MeetingAnswers>&) { form.reset(); };
    form->save();
    EXPECT_EQ(form, nullptr);
}

TEST_F(FormModelTest, AFormNobodyListensToCanBeUsed) {
    FormModel quiet(people, types, defaults);
    quiet.setNewName(u"Dora"_s);
    quiet.addName();
    quiet.addType(u"Club"_s);
    quiet.pickType(newTypeItem);
    quiet.save();
    EXPECT_TRUE(quiet.finished());
}

TEST_F(FormModelTest, SeveralFormsStandBesideEachOther) {
    FormModel first(people, types, defaults);
    FormModel second(people, types, defaults);
    second.setChecked(1, true);
    second.save();
    EXPECT_FALSE(first.finished());
    EXPECT_EQ(first.checkedNames(), QStringList());
}

// For self tests

TEST_F(FormModelTest, FillingIsLikeTyping) {
    open().fill(u"Home"_s, {u"Dora"_s, u"bob"_s, u" "_s}, u"budget"_s);
    EXPECT_EQ(form->pickedType(), u"Home"_s);
    EXPECT_EQ(form->checkedNames(), (QStringList{u"Bob"_s, u"Dora"_s}));
    EXPECT_EQ(form->note(), u"budget"_s);
    form->fill(std::nullopt, {}, QString());
    EXPECT_EQ(form->pickedType(), std::nullopt);
}

TEST_F(FormModelTest, TheSummaryNamesEntriesPickAndMessage) {
    EXPECT_EQ(open().typeSummary(), u"form types: Work,Home,未分類,,新增類型… picked: Work"_s);
    form->pickType(uncategorizedItem);
    form->addType(QString());
    EXPECT_EQ(form->typeSummary(),
              u"form types: Work,Home,未分類,,新增類型… picked: none message: 類型名稱不能是空的"_s);
}

} // namespace
