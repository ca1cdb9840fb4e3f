// A main window that remembers what it was told and lets a test press its buttons.
#pragma once

#include "ui/RecorderWindow.h"

#include <utility>
#include <vector>

namespace fakes {

class FakeRecorderWindow final : public ui::RecorderWindow {
public:
    struct Pending {
        std::optional<double> recording;
        int waitingForms = 0;
        bool practice = false;
        bool operator==(const Pending&) const = default;
    };

    Handlers handlers;
    int shows = 0;
    int reloads = 0;
    int commits = 0;
    ui::AppMenuState menu;
    ui::RecordButtonState button;
    std::optional<QString> notice;
    bool practice = false;
    Pending pending;
    std::vector<std::pair<double, double>> levels;
    std::vector<std::filesystem::path> keepAsked;
    int keepRefreshes = 0;

    void setHandlers(Handlers given) override { handlers = std::move(given); }

    void show() override { ++shows; }

    void setMenu(const ui::AppMenuState& state) override { menu = state; }

    void setRecording(const ui::RecordButtonState& state, const std::optional<QString>& text,
                      bool isPractice) override {
        button = state;
        notice = text;
        practice = isPractice;
    }

    void setPending(const std::optional<double>& recording, int waitingForms, bool isPractice) override {
        pending = {recording, waitingForms, isPractice};
    }

    void setLevels(double mic, double system) override { levels.emplace_back(mic, system); }

    void reload() override { ++reloads; }

    void askKeep(const std::filesystem::path& folder) override { keepAsked.push_back(folder); }

    void refreshKeepCard() override { ++keepRefreshes; }

    [[nodiscard]] bool keepCardShown() const override {
        return !keepAsked.empty() && handlers.keepPending(keepAsked.back());
    }

    [[nodiscard]] QString keepCardLine() const override { return QStringLiteral("keep card"); }

    void commitEdits() override { ++commits; }
};

} // namespace fakes
