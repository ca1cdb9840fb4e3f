// What the tray item and its menu say, from the controller's state.
//   Threads  any; no state                     Errors  none
#pragma once

#include "entry/RecorderState.h"
#include "entry/StatusItem.h"

#include <QString>

#include <optional>
#include <vector>

namespace entry::StatusMenu {

struct Input {
    RecorderState state = RecorderState::Idle;
    bool practicing = false;
    std::optional<QString> notice; ///< its text
    bool noticeCanBeFixed = false; ///< something can be opened for it
    bool hasWarnings = false;
    bool micSlow = false;
    bool recovering = false;
    bool canShoot = false;
    bool screenshotsEnabled = true;
    double elapsedSeconds = 0;
    std::optional<QString> lastSaved; ///< name of the last finished folder
    QString micMeter;                 ///< titles of the meter rows
    QString systemMeter;
};

/// The first row: what the recorder is doing.
[[nodiscard]] QString statusLine(const Input& input);
[[nodiscard]] StatusItemState itemState(const Input& input);
[[nodiscard]] std::vector<MenuRow> rows(const Input& input);

} // namespace entry::StatusMenu
