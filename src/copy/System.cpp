#include "copy/System.h"

#include <QLocale>

#include <cerrno>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace copy::System {

QStringList preferredLanguages() {
    return QLocale::system().uiLanguages();
}

QString fullUserName() {
    std::vector<char> storage(1024);
    passwd entry{};
    passwd* found = nullptr;
    while (getpwuid_r(getuid(), &entry, storage.data(), storage.size(), &found) == ERANGE) {
        storage.resize(storage.size() * 2);
    }
    if (found == nullptr || found->pw_gecos == nullptr) {
        return {};
    }
    return fullNameFromComment(QString::fromLocal8Bit(found->pw_gecos), QString::fromLocal8Bit(found->pw_name));
}

QString fullNameFromComment(const QString& comment, const QString& login) {
    auto name = comment.section(u',', 0, 0);
    return name.replace(u'&', login.left(1).toUpper() + login.mid(1));
}

} // namespace copy::System
