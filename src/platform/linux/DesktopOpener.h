// Hands folders, addresses and settings panes to the desktop's own programs.
//   Threads  the main thread; a program is started and not waited for
#pragma once

#include "entry/Opener.h"
#include "platform/linux/DesktopBus.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace platform::linux_desktop {

/// A program and its arguments.
using Command = QStringList;

class DesktopOpener final : public entry::Opener {
public:
    /// Starts the first of `commands` whose program there is; false when there is none.
    using Start = std::function<bool(const std::vector<Command>& commands)>;

    /// `session` outlives it.
    explicit DesktopOpener(DesktopBus& session, base::Scheduler& main, Start start = startFirst);

    void openFolder(const std::filesystem::path& folder) override;
    void openURL(const QString& address) override;
    [[nodiscard]] bool openPane(const QString& pane) override;

    [[nodiscard]] static bool startFirst(const std::vector<Command>& commands);
    /// What can open an address, best first.
    [[nodiscard]] static std::vector<Command> commandsForAddress(const QString& address);
    /// What can show a pane of ui::Permissions on a desktop ($XDG_CURRENT_DESKTOP), best first; empty where nothing
    /// can.
    [[nodiscard]] static std::vector<Command> commandsForPane(const QString& pane, const QString& desktop);

private:
    DesktopBus& m_session;
    base::Scheduler& m_main;
    Start m_start;
};

} // namespace platform::linux_desktop
