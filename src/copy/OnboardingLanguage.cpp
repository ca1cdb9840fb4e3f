#include "copy/OnboardingLanguage.h"

#include "base/Environment.h"
#include "copy/System.h"

#include <atomic>

namespace copy {

namespace {

constinit std::atomic<std::optional<OnboardingLanguage>> forced{};

} // namespace

OnboardingLanguage OnboardingLanguage::current() {
    if (const auto language = selfTestForced()) {
        return *language;
    }
    return pick(System::preferredLanguages(), base::Environment::variable("TARVEX_ONBOARDING_LANG"),
                base::Environment::testMode());
}

OnboardingLanguage OnboardingLanguage::pick(const QStringList& preferred, const std::optional<QString>& override,
                                            bool testMode) {
    if (testMode && override) {
        for (const OnboardingLanguage language : {zh, en}) {
            if (language.rawValue() == *override) {
                return language;
            }
        }
    }
    const bool chinese = !preferred.isEmpty() && preferred.first().toLower().startsWith(u"zh");
    return chinese ? zh : en;
}

std::optional<OnboardingLanguage> OnboardingLanguage::selfTestForced() {
    return forced.load();
}

void OnboardingLanguage::setSelfTestForced(std::optional<OnboardingLanguage> language) {
    forced.store(language);
}

} // namespace copy
