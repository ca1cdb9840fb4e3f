// The one state machine that drives the record button, the tray and the menus.
#pragma once

namespace entry {

enum class RecorderState { Idle, Starting, Recording, Stopping };

} // namespace entry
