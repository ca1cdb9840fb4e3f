// What decides about the recording commands of the main menu.
#pragma once

namespace ui {

struct AppMenuState {
    bool recording = false;
    bool enabled = true; ///< the record command can be used
    bool practice = false;
    bool canShoot = true;
    bool idle = true;
    bool operator==(const AppMenuState&) const = default;
};

} // namespace ui
