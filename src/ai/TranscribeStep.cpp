#include "ai/TranscribeStep.h"

#include "ai/LastLine.h"
#include "ai/MeetingContent.h"
#include "ai/Stamp.h"
#include "ai/TranscriptCleaner.h"
#include "ai/WhisperOutput.h"
#include "ai/WorkFolder.h"
#include "copy/Strings.h"
#include "store/MeetingLibrary.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace ai::AIPipeline {
namespace {

namespace Strings = copy::Strings;

constexpr double unknownLengthTimeout = 7800.0;
constexpr double timeoutPerSecond = 2.0;
constexpr double timeoutAtLeast = 600.0;

const std::string micTrack = "mic";
const std::string systemTrack = "system";

std::unexpected<AIFailure> failure(const QString& message) {
    return std::unexpected(AIFailure{AIStep::Transcribe, message});
}

bool isThere(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

/// The tool's last words, on whichever stream it spoke.
QString complaint(const ProcessRunner::Output& output) {
    for (const auto& stream : {output.standardError, output.standardOutput}) {
        if (const QString line = lastLine(stream); !line.isEmpty()) {
            return line;
        }
    }
    return u"exit "_s + QString::number(output.status);
}

std::expected<WhisperOutput, AIFailure> readOutput(const std::filesystem::path& file) {
    const auto bytes = base::readFile(file, WhisperOutput::sizeLimit);
    auto output = bytes ? WhisperOutput::parse(*bytes) : std::nullopt;
    if (!output) {
        return failure(Strings::aiErrWhisperOutput);
    }
    return std::move(*output);
}

std::expected<WhisperOutput, AIFailure> transcribeTrack(const AudioTrack& track, const store::MeetingRecord& record,
                                                        const std::filesystem::path& work, const StepContext& context) {
    const auto output =
        context.runner.run({.executable = context.tools.whisper,
                            .arguments = whisperArguments(track.path, work, track.name, record.practice),
                            .standardInput = std::nullopt,
                            .directory = work,
                            .timeout = whisperTimeout(record.duration)});
    if (!output) {
        return failure(Strings::aiErrWhisper(output.error().text));
    }
    if (output->cancelled) {
        return failure(Strings::aiErrCancelled);
    }
    if (output->timedOut) {
        return failure(Strings::aiErrTimeout);
    }
    if (output->status != 0) {
        return failure(Strings::aiErrWhisper(complaint(*output)));
    }
    return readOutput(work / (track.name + ".json"));
}

struct TrackOutputs {
    std::optional<WhisperOutput> mic;
    std::optional<WhisperOutput> system;
};

std::expected<TrackOutputs, AIFailure> transcribeTracks(const std::vector<AudioTrack>& tracks,
                                                        const store::MeetingRecord& record,
                                                        const StepContext& context) {
    const WorkFolder work(context.workRoot, "whisper_");
    TrackOutputs outputs;
    for (const auto& track : tracks) {
        auto output = transcribeTrack(track, record, work.path(), context);
        if (!output) {
            return std::unexpected(output.error());
        }
        (track.name == micTrack ? outputs.mic : outputs.system) = std::move(*output);
    }
    return outputs;
}

std::span<const WhisperSegment> segmentsOf(const std::optional<WhisperOutput>& output) {
    return output ? std::span<const WhisperSegment>(output->segments) : std::span<const WhisperSegment>();
}

/// The meeting's transcript in a moment of its own making, written over any earlier one.
StepResult writeTranscript(const TrackOutputs& outputs, const store::MeetingRecord& record,
                           const StepContext& context) {
    const auto merge = record.practice ? TranscriptCleaner::Merge::No : TranscriptCleaner::Merge::Yes;
    const auto segments =
        TranscriptCleaner::clean(segmentsOf(outputs.mic), segmentsOf(outputs.system), record.duration, merge);
    if (segments.empty()) {
        return failure(record.practice ? Strings::aiErrNoSpeechPractice : Strings::aiErrNoSpeech);
    }
    const auto language = TranscriptCleaner::language(outputs.mic, outputs.system);
    const auto bytes = TranscriptCleaner::transcriptData(segments, language, stamp(context.clock.now(), context.clock));
    if (const auto written = base::replaceFile(record.transcriptURL(), bytes); !written) {
        return failure(Strings::mainSaveFailed(written.error().text));
    }
    return {};
}

} // namespace

std::vector<AudioTrack> audioTracks(const store::MeetingRecord& record) {
    std::vector<AudioTrack> tracks{{micTrack, record.micURL()}};
    if (!record.practice) {
        tracks.push_back({systemTrack, record.systemURL()});
    }
    std::erase_if(tracks, [](const auto& track) { return !isThere(track.path); });
    return tracks;
}

std::vector<std::string> whisperArguments(const std::filesystem::path& audio, const std::filesystem::path& outputDir,
                                          const std::string& name, bool practice) {
    std::vector<std::string> arguments{audio.native(),
                                       "--model",
                                       std::string(AITools::whisperModel),
                                       "--output-format",
                                       "json",
                                       "--output-dir",
                                       outputDir.native(),
                                       "--output-name",
                                       name,
                                       "--condition-on-previous-text",
                                       "False",
                                       "--verbose",
                                       "False"};
    if (practice) {
        arguments.insert(arguments.end(), {"--initial-prompt", std::string(practiceInitialPrompt)});
    }
    return arguments;
}

double whisperTimeout(std::optional<double> duration) {
    return duration ? std::max(*duration, 0.0) * timeoutPerSecond + timeoutAtLeast : unknownLengthTimeout;
}

bool hasTranscript(const store::MeetingRecord& record) {
    const auto state = MeetingContent::transcript(record);
    return state.isReady() && !state.value()->segments.empty();
}

bool needsTranscription(const AIRequest& request) {
    return request.transcribe == AIRequest::Transcribe::Always ||
           !hasTranscript(store::MeetingLibrary::record(request.folder));
}

StepResult transcribe(const std::filesystem::path& folder, const StepContext& context) {
    const auto record = store::MeetingLibrary::record(folder);
    const auto tracks = audioTracks(record);
    if (tracks.empty()) {
        const bool expired = record.audioExpired(context.clock.now());
        return failure(expired ? Strings::aiErrAudioGone : Strings::aiErrNoAudio);
    }
    if (!context.tools.whisperFound()) {
        return failure(Strings::aiErrMissing(base::pathText(context.tools.whisper)));
    }
    const auto outputs = transcribeTracks(tracks, record, context);
    if (!outputs) {
        return std::unexpected(outputs.error());
    }
    return writeTranscript(*outputs, record, context);
}

} // namespace ai::AIPipeline
