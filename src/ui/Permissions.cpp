#include "ui/Permissions.h"

namespace ui {

using namespace Qt::StringLiterals;

QString Permissions::statusLine(const QString& name, bool granted) {
    return name + u' ' + (granted ? u"✓"_s : u"✗"_s);
}

} // namespace ui
