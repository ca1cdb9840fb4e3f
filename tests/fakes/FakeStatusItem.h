// A tray item that only remembers what it was told.
#pragma once

#include "entry/StatusItem.h"

#include <map>
#include <utility>
#include <vector>

namespace fakes {

class FakeStatusItem final : public entry::StatusItem {
public:
    bool visible = true;
    int states = 0;
    entry::StatusItemState state;
    std::vector<entry::MenuRow> rows;
    std::map<entry::LiveRow, QString> liveTitles;

    void setHandlers(Handlers handlers) override { m_handlers = std::move(handlers); }

    void setVisible(bool on) override { visible = on; }

    void setState(const entry::StatusItemState& newState) override {
        ++states;
        state = newState;
    }

    void setMenu(const std::vector<entry::MenuRow>& newRows) override { rows = newRows; }

    void setLiveTitle(entry::LiveRow row, const QString& title) override { liveTitles[row] = title; }

    QString shownSymbol() const override { return visible ? state.symbol : QString{}; }

    void openMenu() {
        if (m_handlers.onMenuOpening) {
            m_handlers.onMenuOpening();
        }
    }

    void act(entry::MenuAction action) {
        if (m_handlers.onAction) {
            m_handlers.onAction(action);
        }
    }

private:
    Handlers m_handlers;
};

} // namespace fakes
