// From the stop of a recording to its complete folder.

#include "base/Files.h"
#include "copy/Strings.h"
#include "entry/AppDelegateTest.h"

namespace entry {
namespace {

namespace fs = std::filesystem;
namespace Strings = copy::Strings;
using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

class AppDelegateFinishTest : public AppDelegateTest {
protected:
    AppDelegateFinishTest() { holdForms(); }

    /// One whole meeting; its form is open then.
    void record() {
        begin();
        notifications.added.clear();
        stop();
    }

    void answer(std::size_t form, const std::optional<store::MeetingAnswers>& given) { openForms.at(form)(given); }
};

TEST_F(AppDelegateFinishTest, AStoppedMeetingIsAskedAbout) {
    launch();
    record();
    EXPECT_EQ(openForms.size(), 1U);
    EXPECT_EQ(app->formsShown(), 1);
    EXPECT_EQ(window->pending.waitingForms, 1);
    EXPECT_EQ(app->state(), RecorderState::Idle);
    EXPECT_EQ(app->session(), nullptr);
    EXPECT_EQ(app->pendingFolders().size(), 1U);
    EXPECT_TRUE(fs::exists(meeting(u8"2025_03_07_0930")));
}

TEST_F(AppDelegateFinishTest, WhatHasExpiredIsPrunedAtEachStop) {
    launch();
    prunes = 0;
    record();
    dispatch.runDue();
    EXPECT_EQ(prunes, 1);
}

TEST_F(AppDelegateFinishTest, ASavedFormNamesTheFolderTellsItAndHandsItOn) {
    launch();
    record();
    answer(0, answers(u"weekly sync"_s));
    const fs::path final = meeting(u8"2025_03_07_0930_weekly_sync");
    EXPECT_TRUE(fs::exists(final));
    EXPECT_EQ(app->lastSaved(), u"2025_03_07_0930_weekly_sync"_s);
    EXPECT_THAT(posted(), ElementsAre(Strings::notifySaved(u"weekly sync"_s)));
    EXPECT_THAT(app->pendingFolders(), IsEmpty());
    EXPECT_EQ(window->pending.waitingForms, 0);
    EXPECT_EQ(window->reloads, 1);
    EXPECT_THAT(generated, ElementsAre(final));
}

TEST_F(AppDelegateFinishTest, ANoteWithBlanksAroundAWordIsToldAndKeptAsTheWord) {
    launch();
    record();
    answer(0, answers(u"  plan \n"_s));
    EXPECT_THAT(posted(), ElementsAre(Strings::notifySaved(u"plan"_s)));
    const fs::path final = meeting(u8"2025_03_07_0930_plan");
    EXPECT_EQ(store::MeetingArchive::readMeta(final)->note, u"plan"_s);
}

TEST_F(AppDelegateFinishTest, AFormSavedWithoutANoteIsToldByItsFolder) {
    launch();
    record();
    answer(0, answers(u"  "_s));
    EXPECT_TRUE(fs::exists(meeting(u8"2025_03_07_0930_未命名")));
    EXPECT_THAT(posted(), ElementsAre(Strings::notifySaved(u"2025_03_07_0930_未命名"_s)));
    EXPECT_EQ(generated.size(), 1U);
}

TEST_F(AppDelegateFinishTest, ASkippedFormQueuesNothing) {
    launch();
    record();
    answer(0, std::nullopt);
    EXPECT_TRUE(fs::exists(meeting(u8"2025_03_07_0930_未命名")));
    EXPECT_THAT(posted(), ElementsAre(Strings::notifySaved(u"2025_03_07_0930_未命名"_s)));
    EXPECT_THAT(generated, IsEmpty());
}

TEST_F(AppDelegateFinishTest, AFormEndsOnlyOnce) {
    launch();
    record();
    answer(0, answers(u"one"_s));
    answer(0, answers(u"two"_s));
    EXPECT_EQ(posted().size(), 1U);
    EXPECT_EQ(window->pending.waitingForms, 0);
}

TEST_F(AppDelegateFinishTest, TwoMeetingsInOneMinuteWithOneNoteGetTwoFolders) {
    launch();
    record();
    record();
    answer(0, answers(u"same"_s));
    answer(1, answers(u"same"_s));
    EXPECT_TRUE(fs::exists(meeting(u8"2025_03_07_0930_same")));
    EXPECT_TRUE(fs::exists(meeting(u8"2025_03_07_0930_same_2")));
}

TEST_F(AppDelegateFinishTest, AStopWhileAFormWaitsOpensASecondAndEachFinishesItsOwnFolder) {
    launch();
    record();
    wallClock.time = wallClock.time.addSecs(60);
    record();
    EXPECT_EQ(window->pending.waitingForms, 2);
    EXPECT_EQ(app->formsShown(), 2);
    answer(1, answers(u"second"_s));
    EXPECT_EQ(window->pending.waitingForms, 1);
    EXPECT_THAT(app->pendingFolders(), ElementsAre(base::standardizedText(meeting(u8"2025_03_07_0930"))));
    answer(0, answers(u"first"_s));
    EXPECT_TRUE(fs::exists(meeting(u8"2025_03_07_0930_first")));
    EXPECT_TRUE(fs::exists(meeting(u8"2025_03_07_0931_second")));
    EXPECT_THAT(app->pendingFolders(), IsEmpty());
}

TEST_F(AppDelegateFinishTest, AnOpenFormDoesNotHoldANewRecordingUp) {
    launch();
    record();
    begin();
    EXPECT_EQ(app->state(), RecorderState::Recording);
}

TEST_F(AppDelegateFinishTest, ARecordThatCannotBeWrittenIsAWarningAndTheFolderIsNamedAllTheSame) {
    launch();
    record();
    fs::remove(meeting(u8"2025_03_07_0930") / "meta.json");
    fs::create_directories(meeting(u8"2025_03_07_0930") / "meta.json" / "in the way");
    answer(0, answers(u"note"_s));
    ASSERT_EQ(app->warnings().size(), 1);
    EXPECT_TRUE(app->warnings()[0].startsWith(u"meta.json 寫不進去："_s));
    EXPECT_EQ(posted().back(), Strings::notifySaved(u"note"_s));
    EXPECT_TRUE(fs::exists(meeting(u8"2025_03_07_0930_note")));
}

TEST_F(AppDelegateFinishTest, AFolderThatIsGoneKeepsItsNameWithoutAWord) {
    launch();
    record();
    fs::remove_all(meeting(u8"2025_03_07_0930"));
    answer(0, answers(u"note"_s));
    EXPECT_EQ(app->lastSaved(), u"2025_03_07_0930"_s);
    EXPECT_THAT(app->pendingFolders(), IsEmpty());
}

TEST_F(AppDelegateFinishTest, AnAnswerAfterTheControllerHasGoneDoesNothing) {
    launch();
    record();
    app.reset();
    answer(0, answers(u"note"_s));
    EXPECT_TRUE(fs::exists(meeting(u8"2025_03_07_0930")));
}

TEST_F(AppDelegateFinishTest, APracticeIsFiledAndAskedAboutInsteadOfAForm) {
    launch();
    begin(true);
    notifications.added.clear();
    stop();
    const fs::path folder = meeting(u8"2025_03_07_0930_練習");
    EXPECT_THAT(openForms, IsEmpty());
    EXPECT_EQ(app->formsShown(), 0);
    EXPECT_EQ(app->keep().pending(), folder);
    EXPECT_THAT(window->keepAsked, ElementsAre(folder));
    EXPECT_EQ(app->lastSaved(), u"2025_03_07_0930_練習"_s);
    EXPECT_THAT(app->pendingFolders(), IsEmpty());
    EXPECT_EQ(posted().size(), 1U);
    EXPECT_THAT(generated, IsEmpty());
    EXPECT_EQ(store::MeetingArchive::readMeta(folder)->mode, store::MeetingMeta::practiceMode);
}

class AppDelegatePracticeTest : public AppDelegateFinishTest {
protected:
    void recordPractice() {
        launch();
        begin(true);
        stop();
        notifications.added.clear();
    }

    const fs::path take = meeting(u8"2025_03_07_0930_練習");
};

TEST_F(AppDelegatePracticeTest, AKeptTakeIsHandedOn) {
    recordPractice();
    window->handlers.onKeepAnswer(practice::KeepEvent::Keep);
    EXPECT_THAT(generated, ElementsAre(take));
    EXPECT_FALSE(window->keepCardShown());
    EXPECT_THAT(trashed, IsEmpty());
}

TEST_F(AppDelegatePracticeTest, ADiscardedTakeGoesToTheTrash) {
    recordPractice();
    const int reloads = window->reloads;
    window->handlers.onKeepAnswer(practice::KeepEvent::Discard);
    EXPECT_THAT(trashed, ElementsAre(take));
    EXPECT_EQ(app->lastSaved(), std::nullopt);
    EXPECT_EQ(window->reloads, reloads + 1);
    EXPECT_THAT(generated, IsEmpty());
}

TEST_F(AppDelegatePracticeTest, ADiscardLeavesTheNameOfALaterRecordingAlone) {
    recordPractice();
    begin();
    stop();
    openForms.at(0)(answers(u"later"_s));
    app->discardPractice(take);
    EXPECT_EQ(app->lastSaved(), u"2025_03_07_0930_later"_s);
}

TEST_F(AppDelegatePracticeTest, ATrashThatFailsIsAWarningAndTheTakeStays) {
    trashError = base::fileError(ENOSPC);
    recordPractice();
    window->handlers.onKeepAnswer(practice::KeepEvent::Discard);
    EXPECT_THAT(app->warnings(), ElementsAre(Strings::keepDiscardFailed(trashError->text)));
    EXPECT_EQ(app->lastSaved(), u"2025_03_07_0930_練習"_s);
    EXPECT_FALSE(app->keep().pending());
}

TEST_F(AppDelegatePracticeTest, ASecondAnswerDoesNothing) {
    recordPractice();
    window->handlers.onKeepAnswer(practice::KeepEvent::Keep);
    window->handlers.onKeepAnswer(practice::KeepEvent::Discard);
    EXPECT_THAT(trashed, IsEmpty());
    EXPECT_EQ(generated.size(), 1U);
}

TEST_F(AppDelegatePracticeTest, AQuitKeepsTheTakeAndQueuesNothing) {
    recordPractice();
    EXPECT_EQ(app->shouldTerminate(), AppDelegate::TerminateReply::Now);
    EXPECT_FALSE(app->keep().pending());
    EXPECT_THAT(generated, IsEmpty());
    EXPECT_THAT(trashed, IsEmpty());
}

TEST_F(AppDelegatePracticeTest, AnAnswerThatAsksForItsOwnAIWorkQueuesNoSecond) {
    recordPractice();
    window->handlers.onKeepAnswer(practice::KeepEvent::Generate);
    EXPECT_THAT(generated, IsEmpty());
}

TEST_F(AppDelegateFinishTest, ConversionTroubleIsShownAfterTheStop) {
    roles.conversionErrors["mic.caf"] = u"bad"_s;
    launch();
    record();
    EXPECT_THAT(app->warnings(), ElementsAre(Strings::convertFailed(u"bad"_s)));
}

TEST_F(AppDelegateFinishTest, TheSelfTestHearsOfTheRecordingAndItsEnd) {
    int began = 0;
    std::vector<fs::path> finished;
    seams.selfTest.began = [&](RecordingSession&) { ++began; };
    seams.selfTest.finished = [&](const auto&, const fs::path& folder) { finished.push_back(folder); };
    launch();
    record();
    answer(0, answers(u"note"_s));
    EXPECT_EQ(began, 1);
    EXPECT_THAT(finished, ElementsAre(meeting(u8"2025_03_07_0930_note")));
}

TEST_F(AppDelegateFinishTest, WithoutAFormAMeetingIsFinishedAsASkippedOne) {
    seams.form = FormSeam();
    launch();
    record();
    EXPECT_TRUE(fs::exists(meeting(u8"2025_03_07_0930_未命名")));
    EXPECT_EQ(window->pending.waitingForms, 0);
}

} // namespace
} // namespace entry
