#include "adapter/EngineRun.h"

#include "adapter/EngineOutput.h"
#include "ai/LastLine.h"
#include "base/Files.h"

namespace adapter {
namespace {

using Kind = ai::SpeechEngine::Kind;

/// The name, without ".json", of the file that an engine writes.
constexpr const char* outputStem = "engine";

std::optional<std::string> languageFor(const EngineTask& task, const Request& request) {
    return task.model.englishOnly ? std::optional<std::string>("en") : request.language;
}

std::vector<std::string> whisperCppArguments(const EngineTask& task, const Request& request) {
    std::vector<std::string> arguments{"-m",
                                       task.model.path.native(),
                                       "-f",
                                       task.sound.native(),
                                       "-l",
                                       languageFor(task, request).value_or("auto"),
                                       "-t",
                                       std::to_string(task.threads),
                                       "-mc",
                                       "0",
                                       "-oj",
                                       "-of",
                                       (task.folder / outputStem).native()};
    if (!request.initialPrompt.empty()) {
        arguments.insert(arguments.end(), {"--prompt", request.initialPrompt});
    }
    return arguments;
}

/// Both programs name their file after the sound's.
std::vector<std::string> whisperArguments(const EngineTask& task, const Request& request) {
    std::vector<std::string> arguments{task.sound.native()};
    if (task.engine.kind == Kind::WhisperCTranslate2) {
        arguments.insert(arguments.end(), {"--model_directory", task.model.path.native(), "--compute_type", "int8"});
    } else {
        arguments.insert(arguments.end(), {"--model", task.model.path.native(), "--fp16", "False"});
    }
    arguments.insert(arguments.end(), {"--device", "cpu", "--threads", std::to_string(task.threads), "--output_format",
                                       "json", "--output_dir", task.folder.native(), "--condition_on_previous_text",
                                       "False", "--verbose", "False"});
    if (const auto language = languageFor(task, request)) {
        arguments.insert(arguments.end(), {"--language", *language});
    }
    if (!request.initialPrompt.empty()) {
        arguments.insert(arguments.end(), {"--initial_prompt", request.initialPrompt});
    }
    return arguments;
}

std::vector<std::string> sphinxArguments(const EngineTask& task) {
    const auto& folder = task.model.path;
    return {"-infile", task.sound.native(),
            "-time",   "yes",
            "-hmm",    (folder / "en-us").native(),
            "-dict",   (folder / "cmudict-en-us.dict").native(),
            "-lm",     (folder / "en-us.lm.bin").native()};
}

std::optional<ai::WhisperOutput> readOutput(const EngineTask& task, const ai::ProcessRunner::Output& output) {
    if (task.engine.kind == Kind::PocketSphinx) {
        return EngineOutput::fromSphinx(output.standardOutput);
    }
    const bool isCpp = task.engine.kind == Kind::WhisperCpp;
    const auto file = task.folder / ((isCpp ? std::string(outputStem) : task.sound.stem().native()) + ".json");
    const auto bytes = base::readFile(file, ai::WhisperOutput::sizeLimit);
    if (!bytes) {
        return std::nullopt;
    }
    return isCpp ? EngineOutput::fromWhisperCpp(*bytes) : EngineOutput::fromWhisper(*bytes);
}

EngineFailure failed(const EngineTask& task, const std::string& why) {
    return {.tooSlow = false, .text = task.engine.program.filename().native() + ": " + why};
}

} // namespace

std::vector<std::string> engineArguments(const EngineTask& task, const Request& request) {
    switch (task.engine.kind) {
    case Kind::WhisperCpp:
        return whisperCppArguments(task, request);
    case Kind::WhisperCTranslate2:
    case Kind::OpenAIWhisper:
        return whisperArguments(task, request);
    case Kind::PocketSphinx:
        return sphinxArguments(task);
    }
    return {};
}

std::expected<ai::WhisperOutput, EngineFailure> runEngine(const EngineTask& task, const Request& request,
                                                          ai::ProcessRunner& runner, double seconds) {
    const auto output = runner.run({.executable = task.engine.program,
                                    .arguments = engineArguments(task, request),
                                    .standardInput = std::nullopt,
                                    .directory = task.folder,
                                    .timeout = seconds});
    if (!output) {
        return std::unexpected(failed(task, output.error().text.toStdString()));
    }
    if (output->timedOut) {
        return std::unexpected(EngineFailure{.tooSlow = true, .text = {}});
    }
    if (output->status != 0) {
        const auto line = ai::AIPipeline::lastLine(output->standardError).toStdString();
        return std::unexpected(failed(task, line.empty() ? "exit " + std::to_string(output->status) : line));
    }
    auto result = readOutput(task, *output);
    if (!result) {
        return std::unexpected(failed(task, "wrote nothing that can be read"));
    }
    return std::move(*result);
}

} // namespace adapter
