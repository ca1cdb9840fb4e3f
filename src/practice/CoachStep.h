// The second step for a practice take: advice from the transcript and the numbers, in coach.json.
//   Trust    the answer may ignore what was asked: it is cleaned and limited, and stored only if something is left
//   Errors   failures are of the step Summarize, with the text that the user reads
//   Threads  coach blocks for as long as the tool runs, after it has measured the pitch; the rest reads small files
#pragma once

#include "ai/AIFailure.h"
#include "ai/StepContext.h"
#include "ai/Transcript.h"
#include "base/Json.h"
#include "practice/PracticeStats.h"
#include "store/MeetingRecord.h"

#include <QString>
#include <QTimeZone>

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace practice::AIPipeline {

inline constexpr std::int64_t coachVersion = 1;
inline constexpr qsizetype maxWentWell = 3;
inline constexpr std::size_t maxRewrites = 4;
inline constexpr qsizetype maxDelivery = 3;
/// A pause up to this long does not separate what is said in the prompt. Seconds.
inline constexpr double coachMergeGap = 1.0;

enum class WithPitch { No, Yes };

/// The JSON schema of an answer, and the tool's command line with it.
[[nodiscard]] const std::string& coachSchema();
[[nodiscard]] std::vector<std::string> coachArguments();

/// The practice before this one: the newest that was spoken in, of those that began earlier.
[[nodiscard]] std::optional<PracticeStats::Previous> previousPractice(const store::MeetingRecord& before,
                                                                      WithPitch pitch);
/// The numbers of a take. Where its audio is gone, a pitch that was measured earlier is kept.
[[nodiscard]] PracticeStats practiceStats(const store::MeetingRecord& record, const ai::Transcript& transcript,
                                          WithPitch pitch);

struct CoachStamps {
    QString generatedAt;
    std::optional<QString> transcriptGeneratedAt;
    QTimeZone timeZone; ///< of the stamps inside the numbers
};

enum class Notes { None, Given };

/// An answer as it is stored, or the failure that nothing is left of it.
[[nodiscard]] std::expected<base::Json, ai::AIFailure> coachObject(const base::Json& reply, const PracticeStats& stats,
                                                                   Notes notes, const CoachStamps& stamps);

[[nodiscard]] ai::StepResult coach(const std::filesystem::path& folder, const ai::StepContext& context);

} // namespace practice::AIPipeline
