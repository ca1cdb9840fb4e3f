#include "ui/Permissions.h"

#include "copy/Strings.h"

namespace ui {

QString Permissions::statusLine(const QString& name, bool granted) {
    return name + u' ' + (granted ? copy::Strings::permOK : copy::Strings::permMissing);
}

} // namespace ui
