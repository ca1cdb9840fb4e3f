// The texts of the introduction, in both languages.
//   Use      OnboardingCopy::current().title1
//   Threads  any; the two sets are constants
#pragma once

#include "copy/CopyField.h"
#include "copy/FixedText.h"
#include "copy/OnboardingLanguage.h"
#include "copy/TextWith.h"

#include <vector>

namespace copy {

struct OnboardingCopy {
    OnboardingLanguage language;

    TextWith<int, int> stepOf;
    FixedText on;
    FixedText open;
    FixedText found;
    FixedText missing;
    FixedText next;
    FixedText title1;
    FixedText sub1;
    FixedText micTitle;
    FixedText micDetail;
    FixedText screenTitle;
    FixedText screenDetail;
    FixedText footer1;
    FixedText skip;
    FixedText title2;
    FixedText sub2;
    FixedText whisperTitle;
    FixedText whisperDetail;
    FixedText claudeTitle;
    FixedText claudeDetail;
    FixedText openSettings;
    FixedText footer2;
    FixedText title3;
    FixedText sub3;
    FixedText meetingTitle;
    FixedText meetingDetail;
    FixedText practiceTitle;
    FixedText practiceDetail;
    FixedText title4;
    FixedText sub4;
    FixedText meterMine;
    FixedText meterTheirs;
    FixedText footer4;
    FixedText footer4NoScreen;
    FixedText start;
    FixedText settingsRow;

    static const OnboardingCopy zh;
    static const OnboardingCopy en;

    [[nodiscard]] static const OnboardingCopy& of(OnboardingLanguage wanted);
    /// The set in the language of the interface.
    [[nodiscard]] static const OnboardingCopy& current();
    /// Every text with its name, in the order above, places unfilled.
    [[nodiscard]] std::vector<CopyField> fields() const;

    static constexpr int stepCount = 4;
    [[nodiscard]] QString stepLabel(int step) const;
};

} // namespace copy
