// What a step of AI work is given besides its folder.
#pragma once

#include "ai/AIFailure.h"
#include "ai/AITools.h"
#include "ai/ProcessRunner.h"
#include "base/Files.h"
#include "base/WallClock.h"

#include <expected>
#include <filesystem>
#include <functional>

namespace ai {

using StepResult = std::expected<void, AIFailure>;

struct StepContext {
    /// Takes a file that is about to be replaced out of the meeting folder to where it can be found again.
    using Discard = std::function<std::expected<void, base::FileError>(const std::filesystem::path&)>;

    AITools tools;
    ProcessRunner& runner;          ///< of this job alone
    std::filesystem::path workRoot; ///< temporary folders are made in it and removed again
    const base::WallClock& clock;
    Discard discard;
    bool automatic = false; ///< then nothing that is there is replaced
};

} // namespace ai
