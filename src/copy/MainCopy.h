// The texts of the main window that exist in both languages.
//   Use      MainCopy::current().keepTitle, or a fixed set where a text stays Chinese whatever the language
//   Threads  any; the two sets are constants
#pragma once

#include "copy/CopyField.h"
#include "copy/FixedText.h"
#include "copy/OnboardingLanguage.h"
#include "copy/TextWith.h"

#include <vector>

namespace copy {

struct MainCopy {
    OnboardingLanguage language;

    FixedText keepTitle;
    FixedText keepSub;
    FixedText keepDiscard;
    FixedText keepKeep;
    FixedText modeMeeting;
    FixedText modePractice;
    FixedText sendToAI;
    FixedText sendingToAI;
    TextWith<QString> sendingToAIEta;
    TextWith<int> etaSeconds;
    TextWith<int> etaMinutes;
    TextWith<int> etaMinutesLeft;
    FixedText etaUnderMinute;
    FixedText etaAlmost;
    FixedText etaQueued;
    FixedText startRecording;
    FixedText startPractice;
    TextWith<QString> stopRecording;
    TextWith<QString> stopPractice;
    FixedText withNotes;
    FixedText regenerate;
    FixedText nothingHere;
    FixedText conclusion;
    FixedText decisions;
    FixedText actions;
    FixedText points;
    FixedText notes;
    TextWith<int> others;
    TextWith<QString> groupLabel;
    TextWith<QString> dueFormat;
    TextWith<int> shotsCount;
    TextWith<int, QString> transcriptCount;
    FixedText expand;
    FixedText collapse;
    TextWith<int> secondsShort;
    TextWith<int> minutesShort;
    TextWith<int, int> hoursShort;

    static const MainCopy zh;
    static const MainCopy en;

    [[nodiscard]] static const MainCopy& of(OnboardingLanguage wanted);
    /// The set in the language of the interface.
    [[nodiscard]] static const MainCopy& current();
    /// Every text with its name, in the order above, places unfilled.
    [[nodiscard]] std::vector<CopyField> fields() const;
};

} // namespace copy
