#include "entry/StatusMenu.h"

#include "copy/Strings.h"
#include "fakes/QtPrinters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace entry {
namespace {

namespace Strings = copy::Strings;
using namespace Qt::StringLiterals;
using testing::ElementsAre;

const QString separator = u"-"_s;

std::vector<QString> titles(const StatusMenu::Input& input) {
    std::vector<QString> found;
    for (const MenuRow& row : StatusMenu::rows(input)) {
        found.push_back(row.kind == MenuRow::Kind::Separator ? separator : row.title);
    }
    return found;
}

MenuRow row(const StatusMenu::Input& input, MenuAction action) {
    const auto rows = StatusMenu::rows(input);
    const auto found = std::ranges::find(rows, action, &MenuRow::action);
    return found == rows.end() ? MenuRow() : *found;
}

StatusMenu::Input in(RecorderState state, bool practicing = false) {
    StatusMenu::Input input;
    input.state = state;
    input.practicing = practicing;
    input.elapsedSeconds = 65.9;
    input.canShoot = true;
    input.micMeter = u"mic"_s;
    input.systemMeter = u"system"_s;
    return input;
}

TEST(StatusMenuTest, TheIdleMenuHasItsRowsInOrder) {
    EXPECT_THAT(titles(in(RecorderState::Idle)),
                ElementsAre(u"待命中"_s, separator, u"開始錄音"_s, u"開始練習"_s, u"拍一張"_s,
                            u"錄音時自動截圖（每 30 秒）"_s, separator, u"打開 Brieflet"_s, u"打開最近一場"_s,
                            u"所有會議"_s, separator, u"結束 Brieflet"_s));
}

TEST(StatusMenuTest, TheMenuOfAMeetingShowsBothMetersAndTheStop) {
    EXPECT_THAT(titles(in(RecorderState::Recording)),
                ElementsAre(u"錄音中 01:05"_s, separator, u"mic"_s, u"system"_s, u"停止錄音"_s, u"拍一張"_s,
                            u"錄音時自動截圖（每 30 秒）"_s, separator, u"打開 Brieflet"_s, u"打開最近一場"_s,
                            u"所有會議"_s, separator, u"結束 Brieflet"_s));
}

TEST(StatusMenuTest, TheMenuOfAPracticeShowsOneMeter) {
    const auto shown = titles(in(RecorderState::Recording, true));
    EXPECT_EQ(shown[0], u"練習中 01:05"_s);
    EXPECT_EQ(shown[2], u"mic"_s);
    EXPECT_EQ(shown[3], u"停止練習"_s);
}

TEST(StatusMenuTest, TheFirstRowTellsTheState) {
    StatusMenu::Input input = in(RecorderState::Starting);
    EXPECT_EQ(StatusMenu::statusLine(input), Strings::statusStarting.toString());
    input.micSlow = true;
    EXPECT_EQ(StatusMenu::statusLine(input), Strings::micStillOpening.toString());
    input = in(RecorderState::Stopping);
    EXPECT_EQ(StatusMenu::statusLine(input), Strings::statusStopping.toString());
    input = in(RecorderState::Idle);
    input.lastSaved = u"2025_03_07_0930_x"_s;
    EXPECT_EQ(StatusMenu::statusLine(input), u"上一場已存：2025_03_07_0930_x"_s);
    EXPECT_FALSE(StatusMenu::rows(input).front().enabled);
}

TEST(StatusMenuTest, ANoticeIsARowThatWorksOnlyWhereSomethingCanBeOpened) {
    StatusMenu::Input input = in(RecorderState::Idle);
    EXPECT_EQ(row(input, MenuAction::OpenNotice), MenuRow());
    input.notice = u"why"_s;
    EXPECT_EQ(row(input, MenuAction::OpenNotice).title, u"why"_s);
    EXPECT_FALSE(row(input, MenuAction::OpenNotice).enabled);
    input.noticeCanBeFixed = true;
    EXPECT_TRUE(row(input, MenuAction::OpenNotice).enabled);
    EXPECT_EQ(titles(input)[2], u"why"_s);
}

TEST(StatusMenuTest, StartingIsPossibleOnlyWhenIdleAndNothingIsHealed) {
    const auto canStart = [](const StatusMenu::Input& input) {
        const bool recording = row(input, MenuAction::StartRecording).enabled;
        EXPECT_EQ(row(input, MenuAction::StartPractice).enabled, recording);
        return recording;
    };
    EXPECT_TRUE(canStart(in(RecorderState::Idle)));
    EXPECT_FALSE(canStart(in(RecorderState::Starting)));
    EXPECT_FALSE(canStart(in(RecorderState::Stopping)));
    StatusMenu::Input healing = in(RecorderState::Idle);
    healing.recovering = true;
    EXPECT_FALSE(canStart(healing));
}

TEST(StatusMenuTest, AShotCanBeTakenOnlyWhileAMeetingRecordsWithAScreen) {
    const auto canShoot = [](const StatusMenu::Input& input) { return row(input, MenuAction::TakeShot).enabled; };
    EXPECT_TRUE(canShoot(in(RecorderState::Recording)));
    EXPECT_FALSE(canShoot(in(RecorderState::Recording, true)));
    EXPECT_FALSE(canShoot(in(RecorderState::Idle)));
    EXPECT_FALSE(canShoot(in(RecorderState::Stopping)));
    StatusMenu::Input blind = in(RecorderState::Recording);
    blind.canShoot = false;
    EXPECT_FALSE(canShoot(blind));
}

TEST(StatusMenuTest, TheAutomaticShotsAreChecked) {
    StatusMenu::Input input = in(RecorderState::Idle);
    EXPECT_TRUE(row(input, MenuAction::ToggleScreenshots).checkable);
    EXPECT_TRUE(row(input, MenuAction::ToggleScreenshots).checked);
    EXPECT_TRUE(row(input, MenuAction::ToggleScreenshots).enabled);
    input.screenshotsEnabled = false;
    EXPECT_FALSE(row(input, MenuAction::ToggleScreenshots).checked);
    EXPECT_FALSE(row(in(RecorderState::Recording, true), MenuAction::ToggleScreenshots).enabled);
}

TEST(StatusMenuTest, TheMetersMoveInPlaceAndDoNothing) {
    const auto rows = StatusMenu::rows(in(RecorderState::Recording));
    EXPECT_EQ(rows[2].live, LiveRow::MicMeter);
    EXPECT_EQ(rows[3].live, LiveRow::SystemMeter);
    EXPECT_FALSE(rows[2].enabled);
    EXPECT_EQ(rows[2].action, MenuAction::None);
}

TEST(StatusMenuTest, TheSignFollowsTheState) {
    const auto symbol = [](const StatusMenu::Input& input) { return StatusMenu::itemState(input).symbol; };
    EXPECT_EQ(symbol(in(RecorderState::Idle)), StatusSymbol::idle);
    EXPECT_EQ(symbol(in(RecorderState::Starting)), StatusSymbol::idle);
    EXPECT_EQ(symbol(in(RecorderState::Recording)), StatusSymbol::recording);
    EXPECT_EQ(symbol(in(RecorderState::Stopping)), StatusSymbol::recording);
}

TEST(StatusMenuTest, OnlyARecordingIsRedAndShowsItsClock) {
    const auto recording = StatusMenu::itemState(in(RecorderState::Recording));
    EXPECT_EQ(recording.tint, StatusTint::Red);
    EXPECT_EQ(recording.title, u" 01:05"_s);
    for (const auto state : {RecorderState::Idle, RecorderState::Starting, RecorderState::Stopping}) {
        EXPECT_EQ(StatusMenu::itemState(in(state)).tint, StatusTint::None);
        EXPECT_EQ(StatusMenu::itemState(in(state)).title, QString());
    }
}

TEST(StatusMenuTest, AWarningDuringARecordingShowsTheTriangleBesideTheClock) {
    StatusMenu::Input input = in(RecorderState::Recording);
    input.hasWarnings = true;
    EXPECT_EQ(StatusMenu::itemState(input).symbol, StatusSymbol::warning);
    EXPECT_EQ(StatusMenu::itemState(input).title, u" 01:05"_s);
    EXPECT_EQ(StatusMenu::itemState(input).tint, StatusTint::Red);
}

TEST(StatusMenuTest, ANoticeShowsTheTriangle) {
    StatusMenu::Input input = in(RecorderState::Idle);
    input.notice = u"why"_s;
    EXPECT_EQ(StatusMenu::itemState(input).symbol, StatusSymbol::warning);
}

TEST(StatusMenuTest, TheSignIsSpokenAsTheProgram) {
    EXPECT_EQ(StatusMenu::itemState(in(RecorderState::Idle)).description, u"Brieflet"_s);
}

} // namespace
} // namespace entry
