// The main window as the controller sees it: it is told everything it shows and forwards what the user does.
//   Units    seconds; levels 0 to 1
//   Threads  the main thread
//   Owns     the handlers, for as long as it lives
#pragma once

#include "practice/KeepRules.h"
#include "ui/AppMenuState.h"
#include "ui/RecordButtonState.h"

#include <QString>

#include <filesystem>
#include <functional>
#include <optional>

namespace ui {

class RecorderWindow {
public:
    struct Handlers {
        std::function<void()> onStart;
        std::function<void()> onStartPractice;
        std::function<void()> onStop;
        std::function<void()> onShot;
        std::function<void()> onNotice; ///< the notice was clicked
        std::function<void()> onClosed; ///< the user closed the window
        std::function<void()> onQuit;
        /// Whether the question of this take is open.
        std::function<bool(const std::filesystem::path& folder)> keepPending;
        std::function<void(practice::KeepEvent)> onKeepAnswer;
    };

    virtual ~RecorderWindow() = default;
    virtual void setHandlers(Handlers handlers) = 0;
    /// Brings it up; in test mode only as far as the test lets windows be seen.
    virtual void show() = 0;
    virtual void setMenu(const AppMenuState& state) = 0;
    virtual void setRecording(const RecordButtonState& state, const std::optional<QString>& notice, bool practice) = 0;
    /// `recording`: seconds of the recording that runs. `waitingForms`: recordings whose questions are open.
    virtual void setPending(const std::optional<double>& recording, int waitingForms, bool practice) = 0;
    virtual void setLevels(double mic, double system) = 0;
    /// Reads the folders again.
    virtual void reload() = 0;
    /// Comes up with the question whether this practice take is kept.
    virtual void askKeep(const std::filesystem::path& folder) = 0;
    /// Shows or hides the question, as it is open or not.
    virtual void refreshKeepCard() = 0;
    [[nodiscard]] virtual bool keepCardShown() const = 0;
    /// What the card of the question says, for the self-test.
    [[nodiscard]] virtual QString keepCardLine() const = 0;
    /// What is being typed is taken as entered and written.
    virtual void commitEdits() = 0;
};

} // namespace ui
