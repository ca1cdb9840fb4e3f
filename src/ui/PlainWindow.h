// A small window with all that recording needs: two buttons, the state with its clock, the levels, what is wrong.
//   Threads  the main thread
//   Closing  hides it; a recording goes on, and an open question about a practice take is answered by it
#pragma once

#include "ui/RecorderWindow.h"

#include <QWidget>

#include <filesystem>

class QLabel;
class QPushButton;

namespace ui {

class LevelBar;

class PlainWindow final : public QWidget, public RecorderWindow {
    Q_OBJECT

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
    void askKeep(const std::filesystem::path& folder) override;
    void refreshKeepCard() override;
    [[nodiscard]] bool keepCardShown() const override;
    [[nodiscard]] QString keepCardLine() const override;
    void commitEdits() override;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildControls();
    [[nodiscard]] QWidget* buildKeepCard();
    void arrange();
    void recordPressed();

    Handlers m_handlers;
    RecordButtonState m_state;
    QLabel* m_status = nullptr;
    QPushButton* m_record = nullptr;
    QPushButton* m_practice = nullptr;
    QPushButton* m_shot = nullptr;
    QPushButton* m_notice = nullptr; ///< a button, so that the keyboard reaches it
    QWidget* m_keepCard = nullptr;
    QPushButton* m_keep = nullptr;
    std::filesystem::path m_keepFolder; ///< whose question the card asks
    LevelBar* m_mic = nullptr;
    LevelBar* m_system = nullptr;
};

} // namespace ui
