#include "copy/UserName.h"

#include "base/Environment.h"
#include "copy/System.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace copy::UserName {

namespace {

struct Forced {
    std::mutex mutex;
    std::optional<QString> name;
};

Forced& forced() {
    static Forced value;
    return value;
}

} // namespace

QString current() {
    if (const auto name = selfTestForced()) {
        return *name;
    }
    return first(System::fullUserName());
}

QString first(QStringView fullName) {
    const auto isSpace = [](QChar character) { return character.isSpace(); };
    const auto begin = std::ranges::find_if_not(fullName, isSpace);
    const auto end = std::ranges::find_if(begin, fullName.end(), isSpace);
    return begin == end ? fallback.toString() : QString(begin, end - begin);
}

std::optional<QString> selfTestForced() {
    const std::scoped_lock lock(forced().mutex);
    return forced().name;
}

void setSelfTestForced(std::optional<QString> name) {
    if (name && !base::Environment::testMode()) {
        return;
    }
    const std::scoped_lock lock(forced().mutex);
    forced().name = std::move(name);
}

} // namespace copy::UserName
