// What the user has settled about speech engines.
//   Source   environment variables; what they leave open is looked up in "brieflet-whisper.conf" in the user's
//            configuration folder, lines "NAME = VALUE", "#" begins a comment
//   Names    engine, model, language, threads; as variables BRIEFLET_WHISPER_ENGINE and so on
//   Errors   what makes no sense counts as not settled
#pragma once

#include "ai/SpeechEngines.h"

#include <QString>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace adapter {

struct Settings {
    ai::SpeechEngines::Wishes wishes;
    std::optional<std::string> language;
    std::optional<unsigned> threads;
};

using Lookup = std::function<std::optional<QString>(const char* variable)>;

[[nodiscard]] Settings readSettings(const Lookup& environment, const std::filesystem::path& file);
/// Below $XDG_CONFIG_HOME, else ~/.config.
[[nodiscard]] std::filesystem::path settingsFile();

} // namespace adapter
