#include "ui/Present.h"

#include "store/AppPaths.h"

#include <QWidget>

namespace ui {

void present(QWidget& window) {
    if (!store::AppPaths::showWindows()) {
        return;
    }
    if (store::AppPaths::testMode()) {
        window.setAttribute(Qt::WA_ShowWithoutActivating);
        window.show();
        window.lower();
        return;
    }
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
}

} // namespace ui
