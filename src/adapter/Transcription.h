// Turns one track into the JSON file that the transcription tool would write.
//   Time     within `secondsAllowed`: the model is chosen by what this machine has shown it can do, and where none is
//            quick enough that is said before the caller's patience ends
//   Silence  is cut out before an engine hears anything; the times in the file are those of the track
//   Errors   one line in English
//   Threads  blocks; one at a time
#pragma once

#include "adapter/CommandLine.h"
#include "adapter/Settings.h"
#include "ai/SpeechEngines.h"
#include "base/HostClock.h"

#include <expected>
#include <span>
#include <string>
#include <vector>

namespace adapter {

struct Means {
    std::vector<ai::SpeechEngine> engines; ///< the best first
    unsigned threads = 1;
    const base::HostClock& clock;
    double secondsAllowed = 0; ///< from the start of transcribe() on
};

/// How long the caller waits for a track of that length, less what ending in good order takes. Seconds.
[[nodiscard]] double secondsAllowed(double trackSeconds);

/// One line about what was used.
[[nodiscard]] std::expected<std::string, std::string> transcribe(const Request& request, const Means& means);

/// What to install where there is no engine.
inline constexpr const char* nothingFound =
    "brieflet-whisper: no speech engine with a model: install pocketsphinx and pocketsphinx-en-us (English), or "
    "whisper-cli with a model in ~/.local/share/whisper.cpp";

} // namespace adapter
