// Why the last start of a recording failed, as the user reads it.
#pragma once

#include <QString>

#include <optional>

namespace ui {

struct Notice {
    QString text;
    std::optional<QString> pane; ///< the settings address to open when the user clicks, see Permissions
    bool operator==(const Notice&) const = default;
};

} // namespace ui
