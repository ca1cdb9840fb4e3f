#include "entry/StatusMenu.h"

#include "capture/ScreenShooter.h"
#include "copy/Strings.h"

namespace entry::StatusMenu {

namespace Strings = copy::Strings;
using namespace Qt::StringLiterals;

namespace {

MenuRow item(const QString& title, MenuAction action, bool enabled) {
    MenuRow row;
    row.title = title;
    row.action = action;
    row.enabled = enabled;
    return row;
}

MenuRow meter(const QString& title, LiveRow live) {
    MenuRow row = item(title, MenuAction::None, false);
    row.live = live;
    return row;
}

QStringView symbol(const Input& input) {
    if (input.notice || input.hasWarnings) {
        return StatusSymbol::warning;
    }
    const bool busy = input.state == RecorderState::Recording || input.state == RecorderState::Stopping;
    return busy ? StatusSymbol::recording : StatusSymbol::idle;
}

void addRecordRows(std::vector<MenuRow>& rows, const Input& input) {
    if (input.state == RecorderState::Recording) {
        const QString title = input.practicing ? Strings::menuStopPractice : Strings::menuStop;
        rows.push_back(item(title, MenuAction::StopRecording, true));
        return;
    }
    const bool canStart = input.state == RecorderState::Idle && !input.recovering;
    rows.push_back(item(Strings::menuStart, MenuAction::StartRecording, canStart));
    rows.push_back(item(Strings::menuStartPractice, MenuAction::StartPractice, canStart));
}

void addShotRows(std::vector<MenuRow>& rows, const Input& input) {
    const bool meetingRecords = input.state == RecorderState::Recording && !input.practicing;
    rows.push_back(item(Strings::menuShot, MenuAction::TakeShot, meetingRecords && input.canShoot));
    MenuRow automatic = item(Strings::menuAutoShots(static_cast<std::int64_t>(capture::ScreenShooter::interval)),
                             MenuAction::ToggleScreenshots, !input.practicing);
    automatic.checkable = true;
    automatic.checked = input.screenshotsEnabled;
    rows.push_back(automatic);
}

} // namespace

QString statusLine(const Input& input) {
    switch (input.state) {
    case RecorderState::Recording: {
        const QString clock = Strings::clock(input.elapsedSeconds);
        return input.practicing ? Strings::statusPracticing(clock) : Strings::statusRecording(clock);
    }
    case RecorderState::Stopping:
        return Strings::statusStopping;
    case RecorderState::Starting:
        return input.micSlow ? Strings::micStillOpening : Strings::statusStarting;
    case RecorderState::Idle:
        break;
    }
    return input.lastSaved ? Strings::statusSaved(*input.lastSaved) : QString(Strings::statusIdle);
}

StatusItemState itemState(const Input& input) {
    StatusItemState state;
    state.symbol = symbol(input).toString();
    state.description = Strings::appName;
    state.tooltip = statusLine(input);
    if (input.state == RecorderState::Recording) {
        state.tint = StatusTint::Red;
        state.title = u' ' + Strings::clock(input.elapsedSeconds);
    }
    return state;
}

std::vector<MenuRow> rows(const Input& input) {
    std::vector<MenuRow> rows = {item(statusLine(input), MenuAction::None, false), MenuRow::separator()};
    if (input.state == RecorderState::Recording) {
        rows.push_back(meter(input.micMeter, LiveRow::MicMeter));
        if (!input.practicing) {
            rows.push_back(meter(input.systemMeter, LiveRow::SystemMeter));
        }
    }
    if (input.notice) {
        rows.push_back(item(*input.notice, MenuAction::OpenNotice, input.noticeCanBeFixed));
    }
    addRecordRows(rows, input);
    addShotRows(rows, input);
    rows.push_back(MenuRow::separator());
    rows.push_back(item(Strings::menuOpenWindow, MenuAction::OpenWindow, true));
    rows.push_back(item(Strings::menuOpenLatest, MenuAction::OpenLatest, true));
    rows.push_back(item(Strings::menuOpenAll, MenuAction::OpenAll, true));
    rows.push_back(MenuRow::separator());
    rows.push_back(item(Strings::menuQuit, MenuAction::Quit, true));
    return rows;
}

} // namespace entry::StatusMenu
