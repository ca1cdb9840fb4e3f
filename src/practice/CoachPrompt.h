// What the AI is told about a practice: the transcript and the numbers, which it is forbidden to compute itself.
//   Language  the frame is Chinese; the rules ask for the user's language
//   Threads   any; pure
#pragma once

#include "ai/Transcript.h"
#include "copy/AILanguage.h"
#include "copy/MeetingText.h"
#include "practice/PracticeStats.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace practice::AIPipeline {

struct CoachPrompt {
    std::optional<QString> title;
    PracticeStats stats;
    std::vector<ai::Transcript::Segment> transcript;
    QString notes;
    QString name; ///< the user's
    copy::AILanguage language = copy::AILanguage::zh;
    copy::MeetingText::Calendar calendar;
};

[[nodiscard]] QString coachPrompt(const CoachPrompt& parts);
/// The numbers, a line each.
[[nodiscard]] QStringList statsLines(const PracticeStats& stats, const copy::MeetingText::Calendar& calendar);
[[nodiscard]] QStringList pitchLines(const std::optional<PitchStats>& pitch);

} // namespace practice::AIPipeline
