// The tray item of desktops that have a StatusNotifier tray, through Qt. It appears when the tray does: at the start,
// or later; a tray that goes and comes back gets it again.
//   Threads  the main thread
//   Idle     waits for a word on the session bus, without any wake-up
//   Errors   none: without a bus or a tray it stays unseen
#pragma once

#include "entry/StatusItem.h"

#include <QObject>

#include <map>
#include <memory>

class QAction;
class QMenu;
class QSystemTrayIcon;

namespace platform::linux_desktop {

class TrayItem final : public QObject, public entry::StatusItem {
    Q_OBJECT

public:
    TrayItem();
    ~TrayItem() override;

    void setHandlers(Handlers handlers) override;
    void setVisible(bool visible) override;
    void setState(const entry::StatusItemState& state) override;
    void setMenu(const std::vector<entry::MenuRow>& rows) override;
    void setLiveTitle(entry::LiveRow row, const QString& title) override;
    [[nodiscard]] QString shownSymbol() const override;

private Q_SLOTS:
    void hostAppeared();

private:
    void askForHost();
    void makeIcon();
    void showState();
    void addRow(const entry::MenuRow& row);

    Handlers m_handlers;
    bool m_visible = false;
    bool m_hostThere = false;
    bool m_menuOpen = false;
    entry::StatusItemState m_state;
    std::vector<entry::MenuRow> m_rows;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<QSystemTrayIcon> m_icon; ///< made when a tray is there: Qt looks for one only the first time
    std::map<entry::LiveRow, QAction*> m_liveActions;
};

} // namespace platform::linux_desktop
