// The command line of the transcription tool, as far as this program is called with it.
//   Errors   a text in English, one line
#pragma once

#include <expected>
#include <filesystem>
#include <optional>
#include <span>
#include <string>

namespace adapter {

struct Request {
    std::filesystem::path audio;
    std::filesystem::path outputDir = ".";
    std::string outputName; ///< without ".json"; the audio's own name without its ending if none is given
    std::string model;      ///< as it is asked for: the last part of "mlx-community/whisper-large-v3-turbo" tells
    std::string initialPrompt;
    std::optional<std::string> language; ///< nullopt: is to be found out
    bool operator==(const Request&) const = default;
};

/// `arguments` without the program's own name.
[[nodiscard]] std::expected<Request, std::string> parseCommandLine(std::span<const std::string> arguments);

} // namespace adapter
