// A small window with all that recording needs: two buttons, the state with its clock, the levels, what is wrong.
//   Threads  the main thread
//   Closing  hides it; a recording goes on
#pragma once

#include "ui/RecorderWindow.h"

#include <QWidget>

#include <functional>

class QLabel;
class QPushButton;

namespace ui {

class LevelBar;

class PlainWindow final : public QWidget, public RecorderWindow {
public:
    PlainWindow();
    ~PlainWindow() override;

    void setHandlers(Handlers handlers) override;
    void show() override;
    void setMenu(const AppMenuState& state) override;
    void setRecording(const RecordButtonState& state, const std::optional<QString>& notice, bool practice) override;
    void setPending(const std::optional<double>& recording, int waitingForms, bool practice) override;
    void setLevels(double mic, double system) override;
    void reload() override;
    void commitEdits() override;

private:
    void buildControls();
    void arrange();
    void recordPressed();

    Handlers m_handlers;
    RecordButtonState m_state;
    QLabel* m_status = nullptr;
    QPushButton* m_record = nullptr;
    QPushButton* m_practice = nullptr;
    QPushButton* m_shot = nullptr;
    QPushButton* m_notice = nullptr; ///< a button, so that the keyboard reaches it
    LevelBar* m_mic = nullptr;
    LevelBar* m_system = nullptr;
};

} // namespace ui
