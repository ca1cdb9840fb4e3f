// Which programs and models for turning speech into text are on this machine, besides the one that is used as it is.
//   Cost     looks at a few dozen files; no program is run
//   Threads  any; no state
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ai {

struct SpeechModel {
    std::string name; ///< "small", "large-v3-turbo", "base.en"
    std::filesystem::path path;
    /// Processor seconds for a second of speech, roughly and for one core of an ordinary machine. Only the ratios
    /// between models are relied on: how fast this machine is shows itself while it works.
    double cost = 0;
    bool englishOnly = false;
    bool operator==(const SpeechModel&) const = default;
};

struct SpeechEngine {
    enum class Kind { WhisperCpp, WhisperCTranslate2, OpenAIWhisper, PocketSphinx };

    Kind kind = Kind::PocketSphinx;
    std::filesystem::path program;
    std::vector<SpeechModel> models; ///< never empty; the one that is most like what is asked for first
    bool operator==(const SpeechEngine&) const = default;
};

namespace SpeechEngines {

/// What the user has settled; empty: whatever is found.
struct Wishes {
    std::optional<std::string> engine; ///< name of a program, as programName() gives it
    std::optional<std::string> model;  ///< name of a model, or the path of its file
};

/// Folders are taken below these two, so that a test can have a machine of its own.
struct Machine {
    std::filesystem::path root = "/";
    std::filesystem::path home;
};

/// The engines that could start now, the best first. Each is there as a program and with a model.
[[nodiscard]] std::vector<SpeechEngine> find(const Machine& machine, const Wishes& wishes = {});

/// "whisper-cli", "whisper-ctranslate2", "whisper", "pocketsphinx".
[[nodiscard]] std::string_view programName(SpeechEngine::Kind kind);

/// The program of ours that speaks the transcription tool's command line and uses an engine; it stands beside this
/// program. nullopt while it or every engine is missing.
[[nodiscard]] std::optional<std::filesystem::path> standIn();

} // namespace SpeechEngines
} // namespace ai
