// Asking the `claude` tool, and reading what it answers. Shared by the summary and the advice on practice takes.
//   Errors   every failure is of the step Summarize, with the text that the user reads
//   Threads  askClaude blocks for as long as the tool runs; the rest is pure
#pragma once

#include "ai/AIFailure.h"
#include "ai/StepContext.h"
#include "base/Json.h"

#include <QByteArrayView>
#include <QString>

#include <cstdint>
#include <expected>
#include <string>
#include <vector>

namespace ai::AIPipeline {

/// How long the tool may take. Seconds.
inline constexpr double claudeTimeout = 600.0;
/// Bytes of an answer that are read at most; a good one has a few thousand.
inline constexpr std::int64_t replyLimit = 8LL * 1024 * 1024;

/// The tool's command line for an answer of that JSON schema. The prompt is never on it.
[[nodiscard]] std::vector<std::string> claudeArguments(const std::string& schema);

/// Runs the tool with the prompt on its standard input, in an empty folder of its own. The answer is a JSON object.
[[nodiscard]] std::expected<base::Json, AIFailure>
askClaude(const QString& prompt, const std::vector<std::string>& arguments, const StepContext& context);

/// The answer inside what the tool wrote on standard output, where it stands as an object or as text, perhaps fenced.
[[nodiscard]] std::expected<base::Json, AIFailure> parseReply(QByteArrayView standardOutput);

} // namespace ai::AIPipeline
