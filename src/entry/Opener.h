// Hands folders and addresses to the desktop.
//   Threads  the main thread; returns at once
//   Errors   what can't be opened is left alone; only openPane tells, since then words have to take its place
#pragma once

#include <QString>

#include <filesystem>

namespace entry {

class Opener {
public:
    virtual ~Opener() = default;
    /// Shows the folder's content in the file manager.
    virtual void openFolder(const std::filesystem::path& folder) = 0;
    /// Opens an address with the desktop's handler for it. A text that is no address does nothing.
    virtual void openURL(const QString& address) = 0;
    /// Opens the desktop's own settings for one of the panes of Permissions; false when this desktop has none.
    [[nodiscard]] virtual bool openPane(const QString& pane) = 0;
};

} // namespace entry
