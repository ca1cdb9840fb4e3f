#include "adapter/CommandLine.h"

namespace adapter {
namespace {

std::unexpected<std::string> complaint(std::string text) {
    return std::unexpected("brieflet-whisper: " + text);
}

/// Takes one option; nullopt if all is well.
std::optional<std::string> take(Request& request, const std::string& name, const std::string& value) {
    if (name == "--model") {
        request.model = value;
    } else if (name == "--output-dir") {
        request.outputDir = value;
    } else if (name == "--output-name") {
        request.outputName = value;
    } else if (name == "--initial-prompt") {
        request.initialPrompt = value;
    } else if (name == "--language") {
        request.language = value;
    } else if (name == "--output-format") {
        return value == "json" ? std::nullopt : std::optional("the only output format is json, not " + value);
    } else if (name == "--condition-on-previous-text") {
        return value == "False" ? std::nullopt : std::optional(name + " can only be False");
    } else if (name != "--verbose") {
        return "no option " + name;
    }
    return std::nullopt;
}

} // namespace

std::expected<Request, std::string> parseCommandLine(std::span<const std::string> arguments) {
    Request request;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const auto& argument = arguments[at];
        if (!argument.starts_with("--")) {
            if (!request.audio.empty()) {
                return complaint("one audio file at a time");
            }
            request.audio = argument;
            continue;
        }
        if (at + 1 == arguments.size()) {
            return complaint(argument + " needs a value");
        }
        if (const auto wrong = take(request, argument, arguments[++at])) {
            return complaint(*wrong);
        }
    }
    if (request.audio.empty()) {
        return complaint("AUDIO [--output-dir FOLDER] [--output-name NAME] [--model NAME] [--language CODE] "
                         "[--initial-prompt TEXT]");
    }
    if (request.outputName.empty()) {
        request.outputName = request.audio.stem().native();
    }
    if (request.outputName.find('/') != std::string::npos) {
        return complaint("the output name is a name, not a path");
    }
    return request;
}

} // namespace adapter
