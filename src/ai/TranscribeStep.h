// The first step: the audio of one meeting becomes transcript.json, on this computer.
//   Promise  transcript.json is replaced whole or not at all; the first track that fails ends the step
//   Errors   of the step Transcribe, with the text that the user reads
//   Threads  transcribe blocks for as long as the tool runs, one track after the other
#pragma once

#include "ai/AIRequest.h"
#include "ai/StepContext.h"
#include "store/MeetingRecord.h"

#include <QString>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ai::AIPipeline {

/// Filler words, so that the tool writes them down instead of smoothing them away.
inline constexpr std::string_view practiceInitialPrompt = "Um, uh, so, like, you know. 嗯，那個，就是，然後。";

struct AudioTrack {
    std::string name; ///< "mic" or "system"
    std::filesystem::path path;
    bool operator==(const AudioTrack&) const = default;
};

/// The tracks that are there, the microphone first. A practice take has no other.
[[nodiscard]] std::vector<AudioTrack> audioTracks(const store::MeetingRecord& record);

[[nodiscard]] std::vector<std::string> whisperArguments(const std::filesystem::path& audio,
                                                        const std::filesystem::path& outputDir, const std::string& name,
                                                        bool practice);
/// How long the tool may take for one track of a recording of that length. Seconds.
[[nodiscard]] double whisperTimeout(std::optional<double> duration);

/// Whether transcript.json can be read and has a segment.
[[nodiscard]] bool hasTranscript(const store::MeetingRecord& record);
/// Whether the request asks for a transcript or there is none to go on with.
[[nodiscard]] bool needsTranscription(const AIRequest& request);

[[nodiscard]] StepResult transcribe(const std::filesystem::path& folder, const StepContext& context);

} // namespace ai::AIPipeline
