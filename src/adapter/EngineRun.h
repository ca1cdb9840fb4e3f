// Running one engine over one piece of sound.
#pragma once

#include "adapter/CommandLine.h"
#include "ai/ProcessRunner.h"
#include "ai/SpeechEngines.h"
#include "ai/WhisperOutput.h"

#include <expected>
#include <filesystem>
#include <string>
#include <vector>

namespace adapter {

struct EngineTask {
    const ai::SpeechEngine& engine;
    const ai::SpeechModel& model;
    std::filesystem::path sound;  ///< mono, 16000 Hz
    std::filesystem::path folder; ///< for what the engine writes
    unsigned threads = 1;
};

/// The arguments of the engine's own command line.
[[nodiscard]] std::vector<std::string> engineArguments(const EngineTask& task, const Request& request);

struct EngineFailure {
    bool tooSlow = false; ///< the time was over; else the engine itself failed
    std::string text;     ///< one line
    bool operator==(const EngineFailure&) const = default;
};

/// Blocks until the engine has ended; `seconds` are its time limit.
[[nodiscard]] std::expected<ai::WhisperOutput, EngineFailure> runEngine(const EngineTask& task, const Request& request,
                                                                        ai::ProcessRunner& runner, double seconds);

} // namespace adapter
