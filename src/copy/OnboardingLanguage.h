// The language of the interface where it has two: Traditional Chinese or English.
//   Rule     the first preferred language alone decides; a self test can force one, and in test mode
//            TARVEX_ONBOARDING_LANG ("zh" or "en") overrides the preference
//   Threads  any
#pragma once

#include "copy/FixedText.h"

#include <QStringList>

#include <optional>

namespace copy {

class OnboardingLanguage {
public:
    enum Value : unsigned char { zh, en };

    constexpr OnboardingLanguage(Value value) : m_value(value) {}

    constexpr operator Value() const { return m_value; }

    [[nodiscard]] constexpr FixedText rawValue() const { return m_value == zh ? FixedText(u"zh") : FixedText(u"en"); }

    [[nodiscard]] static OnboardingLanguage current();
    /// `preferred` are the user's languages, best first ("zh-Hant-TW"); `override` counts in test mode only.
    [[nodiscard]] static OnboardingLanguage pick(const QStringList& preferred, const std::optional<QString>& override,
                                                 bool testMode);

    [[nodiscard]] static std::optional<OnboardingLanguage> selfTestForced();
    static void setSelfTestForced(std::optional<OnboardingLanguage> language);

private:
    Value m_value;
};

} // namespace copy
