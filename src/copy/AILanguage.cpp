#include "copy/AILanguage.h"

#include "copy/System.h"

#include <algorithm>
#include <atomic>

namespace copy {

namespace {

constinit std::atomic<std::optional<AILanguage>> forced{};

} // namespace

AILanguage AILanguage::current() {
    if (const auto language = selfTestForced()) {
        return *language;
    }
    return pick(System::preferredLanguages());
}

AILanguage AILanguage::pick(const QStringList& preferred) {
    const bool chinese =
        std::ranges::any_of(preferred, [](const QString& language) { return language.toLower().startsWith(u"zh"); });
    return chinese ? zh : en;
}

std::optional<AILanguage> AILanguage::selfTestForced() {
    return forced.load();
}

void AILanguage::setSelfTestForced(std::optional<AILanguage> language) {
    forced.store(language);
}

} // namespace copy
