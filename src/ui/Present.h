// Brings windows up: in front of the user, or, while a self-test drives the program, out of the user's way.
//   Threads  the main thread
#pragma once

class QWidget;

namespace ui {

/// In test mode the window is shown behind all others without taking the focus, or not at all unless the test lets
/// windows be seen; else it comes to the front and gets the focus.
void present(QWidget& window);

} // namespace ui
