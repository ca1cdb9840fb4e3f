// The second step for a meeting: a summary from the transcript and the user's own notes, in summary.json.
//   Language  the rules of the prompt are Chinese, the answer is in the user's language; the notes overrule the
//   transcript Trust     the answer may ignore what was asked: it is cleaned and limited, and stored only if something
//   is left Threads   summarize blocks for as long as the tool runs; the rest is pure
#pragma once

#include "ai/StepContext.h"
#include "ai/SummaryLimits.h"
#include "ai/Transcript.h"
#include "base/Json.h"
#include "copy/AILanguage.h"

#include <QString>
#include <QStringList>

#include <expected>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ai::AIPipeline {

/// The JSON schema of an answer.
[[nodiscard]] const std::string& schema();

struct SummaryPrompt {
    std::optional<QString> title;
    std::optional<QString> type;
    QStringList people;
    std::vector<Transcript::Segment> transcript;
    QString notes;
    QString name; ///< the user's
    copy::AILanguage language = copy::AILanguage::zh;
};

[[nodiscard]] QString prompt(const SummaryPrompt& parts);

struct SummaryStamps {
    QString generatedAt;
    std::optional<QString> transcriptGeneratedAt;
    bool notesIncluded = false;
};

/// An answer as it is stored, or the failure that nothing is left of it.
[[nodiscard]] std::expected<base::Json, AIFailure> summaryObject(const base::Json& reply, const SummaryStamps& stamps);

[[nodiscard]] StepResult summarize(const std::filesystem::path& folder, const StepContext& context);

} // namespace ai::AIPipeline
