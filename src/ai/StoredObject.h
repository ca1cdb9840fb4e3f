// How the result of AI work gets into its file.
#pragma once

#include "ai/StepContext.h"
#include "base/Json.h"
#include "base/WallClock.h"

#include <filesystem>

namespace ai::AIPipeline {

/// Writes `object`: whole or not at all. A file that is there goes through `context.discard` first, and stays where it
/// is if that fails; automatic work leaves it alone and counts as done.
[[nodiscard]] StepResult write(const base::Json& object, const std::filesystem::path& file, const StepContext& context);

/// The usual `discard`: the desktop's trash, in test mode the test folder's.
[[nodiscard]] StepContext::Discard trash(const base::WallClock& clock);

} // namespace ai::AIPipeline
