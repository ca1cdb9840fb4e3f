#include "ui/PlainWindow.h"

#include "copy/EnvironmentValue.h"
#include "copy/MainCopy.h"
#include "copy/Strings.h"
#include "fakes/QtPrinters.h"
#include "ui/LevelBar.h"

#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace ui {
namespace {

namespace Strings = copy::Strings;
using namespace Qt::StringLiterals;
using practice::KeepEvent;
using testing::ElementsAre;
using testing::IsEmpty;

const AppMenuState idle{.recording = false, .enabled = true, .practice = false, .canShoot = true, .idle = true};
const AppMenuState busy{.recording = false, .enabled = false, .practice = false, .canShoot = true, .idle = false};
const AppMenuState recording{.recording = true, .enabled = true, .practice = false, .canShoot = true, .idle = false};

class PlainWindowTest : public testing::Test {
protected:
    PlainWindowTest() {
        const auto note = [this](const char* what) { return [this, what] { asked.emplace_back(what); }; };
        window.setHandlers({.onStart = note("start"),
                            .onStartPractice = note("practice"),
                            .onStop = note("stop"),
                            .onShot = note("shot"),
                            .onNotice = note("notice"),
                            .onClosed = note("closed"),
                            .onQuit = note("quit"),
                            .keepPending = [this](const std::filesystem::path& folder) { return pending == folder; },
                            .onKeepAnswer =
                                [this](KeepEvent event) {
                                    answers.push_back(event);
                                    pending.reset();
                                    window.refreshKeepCard();
                                }});
        window.setMenu(idle);
        window.show();
    }

    [[nodiscard]] QPushButton* button(const QString& text) const {
        for (auto* candidate : window.findChildren<QPushButton*>()) {
            if (candidate->text() == text) {
                return candidate;
            }
        }
        ADD_FAILURE() << "no button " << text.toStdString();
        return nullptr;
    }

    [[nodiscard]] QPushButton* record() const { return window.findChild<QPushButton*>(u"record"_s); }

    [[nodiscard]] QPushButton* notice() const { return window.findChild<QPushButton*>(u"notice"_s); }

    [[nodiscard]] QString status() const { return window.findChild<QLabel*>(u"status"_s)->text(); }

    [[nodiscard]] const copy::MainCopy& texts() const { return copy::MainCopy::current(); }

    EnvironmentValue home{"TARVEX_HOME", "/nonexistent/test"};
    EnvironmentValue shown{"TARVEX_SHOW_WINDOWS", "1"};
    PlainWindow window;
    std::vector<std::string> asked;
    std::optional<std::filesystem::path> pending;
    std::vector<KeepEvent> answers;
};

TEST_F(PlainWindowTest, TheRecordButtonStartsAndStops) {
    EXPECT_EQ(record()->text(), texts().startRecording);
    record()->click();
    window.setMenu(recording);
    window.setRecording(RecordButtonState::recording(65), std::nullopt, false);
    EXPECT_EQ(record()->text(), texts().stopRecording(u"01:05"_s));
    EXPECT_EQ(status(), Strings::statusRecording(u"01:05"_s));
    record()->click();
    EXPECT_THAT(asked, ElementsAre("start", "stop"));
}

TEST_F(PlainWindowTest, ThePracticeButtonIsThereWhileNothingRuns) {
    auto* practice = button(texts().startPractice);
    practice->click();
    EXPECT_THAT(asked, ElementsAre("practice"));
    window.setMenu(recording);
    EXPECT_TRUE(practice->isHidden());
}

TEST_F(PlainWindowTest, APracticeHasOneLevelAndItsOwnWords) {
    window.setRecording(RecordButtonState::recording(5), std::nullopt, true);
    EXPECT_EQ(record()->text(), texts().stopPractice(u"00:05"_s));
    const auto bars = window.findChildren<LevelBar*>();
    ASSERT_EQ(bars.size(), 2);
    EXPECT_FALSE(bars[0]->isHidden());
    EXPECT_TRUE(bars[1]->isHidden());
    window.setRecording(RecordButtonState::recording(5), std::nullopt, false);
    EXPECT_FALSE(bars[1]->isHidden());
}

TEST_F(PlainWindowTest, NothingCanBePressedWhileItStartsOrStops) {
    window.setMenu(busy);
    window.setRecording(RecordButtonState::starting(), std::nullopt, false);
    EXPECT_FALSE(record()->isEnabled());
    EXPECT_EQ(status(), Strings::mainStarting.toString());
    window.setRecording(RecordButtonState::stopping(), std::nullopt, false);
    EXPECT_EQ(status(), Strings::mainStopping.toString());
}

TEST_F(PlainWindowTest, AShotCanBeTakenWhileARecordingCanShoot) {
    auto* shot = button(Strings::menuShot);
    EXPECT_FALSE(shot->isEnabled());
    window.setMenu(recording);
    shot->click();
    EXPECT_THAT(asked, ElementsAre("shot"));
    AppMenuState blind = recording;
    blind.canShoot = false;
    window.setMenu(blind);
    EXPECT_FALSE(shot->isEnabled());
}

TEST_F(PlainWindowTest, ANoticeIsShownAndCanBePressed) {
    EXPECT_TRUE(notice()->isHidden());
    window.setRecording(RecordButtonState::idle(), u"why"_s, false);
    EXPECT_FALSE(notice()->isHidden());
    EXPECT_EQ(notice()->text(), u"why"_s);
    notice()->click();
    EXPECT_THAT(asked, ElementsAre("notice"));
    window.setRecording(RecordButtonState::idle(), std::nullopt, false);
    EXPECT_TRUE(notice()->isHidden());
}

TEST_F(PlainWindowTest, LevelsAreShownWithinTheirLimitsUnderTheirNames) {
    const auto bars = window.findChildren<LevelBar*>();
    window.setLevels(0.25, 1.5);
    EXPECT_EQ(bars[0]->level(), 0.25);
    EXPECT_EQ(bars[1]->level(), 1.0);
    EXPECT_EQ(bars[0]->accessibleName(), Strings::meterMine.toString());
    EXPECT_EQ(bars[1]->accessibleName(), Strings::meterTheirs.toString());
    window.setLevels(-1, 0);
    EXPECT_EQ(bars[0]->level(), 0.0);
}

TEST_F(PlainWindowTest, LevelsFallToNothingWhenTheRecordingEnds) {
    window.setRecording(RecordButtonState::recording(5), std::nullopt, false);
    window.setLevels(0.5, 0.5);
    window.setRecording(RecordButtonState::stopping(), std::nullopt, false);
    EXPECT_EQ(window.findChildren<LevelBar*>()[0]->level(), 0.0);
}

TEST_F(PlainWindowTest, TheQuestionIsShownWhileItIsOpen) {
    EXPECT_FALSE(window.keepCardShown());
    pending = "/m/2025_03_07_0930_practice";
    window.askKeep(*pending);
    EXPECT_TRUE(window.keepCardShown());
    EXPECT_TRUE(window.keepCardLine().endsWith(u" (primary, Enter) shown on: 2025_03_07_0930_practice"_s));
    EXPECT_TRUE(window.keepCardLine().startsWith(u"keep card: "_s + texts().keepTitle + u" | "_s));
    button(texts().keepKeep)->click();
    EXPECT_THAT(answers, ElementsAre(KeepEvent::Keep));
    EXPECT_FALSE(window.keepCardShown());
    EXPECT_TRUE(window.keepCardLine().endsWith(u" hidden"_s));
}

TEST_F(PlainWindowTest, ReturnKeepsTheTake) {
    pending = "/m/a";
    window.askKeep(*pending);
    EXPECT_TRUE(button(texts().keepKeep)->isDefault());
    EXPECT_FALSE(record()->isDefault());
    button(texts().keepDiscard)->click();
    EXPECT_THAT(answers, ElementsAre(KeepEvent::Discard));
    EXPECT_TRUE(record()->isDefault());
}

TEST_F(PlainWindowTest, ClosingItAnswersAnOpenQuestionAndIsTold) {
    pending = "/m/a";
    window.askKeep(*pending);
    window.close();
    EXPECT_THAT(answers, ElementsAre(KeepEvent::WindowClosed));
    EXPECT_THAT(asked, ElementsAre("closed"));
}

TEST_F(PlainWindowTest, ClosingItWithoutAQuestionAnswersNothing) {
    window.close();
    EXPECT_THAT(answers, IsEmpty());
}

TEST_F(PlainWindowTest, TheKeyboardReachesEveryButton) {
    for (const auto* candidate : window.findChildren<QPushButton*>()) {
        EXPECT_TRUE((candidate->focusPolicy() & Qt::TabFocus) != 0) << candidate->text().toStdString();
    }
    record()->setFocus();
    QTest::keyClick(record(), Qt::Key_Space);
    EXPECT_THAT(asked, ElementsAre("start"));
}

class PresentTest : public testing::Test {
protected:
    [[nodiscard]] static bool shownWith(const std::optional<QByteArray>& home, const std::optional<QByteArray>& show) {
        const EnvironmentValue homeVariable("TARVEX_HOME", home);
        const EnvironmentValue showVariable("TARVEX_SHOW_WINDOWS", show);
        PlainWindow window;
        window.show();
        return window.isVisible();
    }
};

TEST_F(PresentTest, WindowsAreSeenOutsideTestModeAndInItOnlyWhenAskedFor) {
    EXPECT_TRUE(shownWith(std::nullopt, std::nullopt));
    EXPECT_FALSE(shownWith("/nonexistent/test", std::nullopt));
    EXPECT_FALSE(shownWith("/nonexistent/test", "0"));
    EXPECT_TRUE(shownWith("/nonexistent/test", "1"));
}

} // namespace
} // namespace ui
