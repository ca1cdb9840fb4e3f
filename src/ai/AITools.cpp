#include "ai/AITools.h"

#include "ai/ProcessRunner.h"
#include "ai/SpeechEngines.h"
#include "base/Environment.h"
#include "base/Files.h"

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace ai {
namespace {

using Path = AITools::Path;

constexpr const char* whisperVariable = "TARVEX_WHISPER_BIN";
constexpr const char* claudeVariable = "TARVEX_CLAUDE_BIN";
constexpr const char* realToolsVariable = "TARVEX_REAL_AI";

/// No file: a test never reaches a real tool by accident.
Path nowhere(const Path& tool) {
    return Path("/nonexistent/test-mode") / tool.filename();
}

/// What a test asks for, if this is one: a tool of its own, none at all, or (nullopt) the one of a normal run.
std::optional<Path> testChoice(const AITools::Search& search, const char* variable, const Path& normal) {
    if (!search.testMode) {
        return std::nullopt;
    }
    if (const auto chosen = search.variable(variable); chosen && !chosen->isEmpty()) {
        return base::pathFrom(*chosen);
    }
    if (search.variable(realToolsVariable) == u"1"_s) {
        return std::nullopt;
    }
    return nowhere(normal);
}

} // namespace

std::vector<Path> AITools::whisperPlaces(const Path& home) {
    return {"/opt/homebrew/bin/mlx_whisper", "/usr/local/bin/mlx_whisper", home / ".local/bin/mlx_whisper"};
}

std::vector<Path> AITools::claudePlaces(const Path& home) {
    return {home / ".local/bin/claude", "/opt/homebrew/bin/claude", "/usr/local/bin/claude"};
}

Path AITools::firstFound(const std::vector<Path>& paths, const Predicate& isExecutable) {
    for (const auto& path : paths) {
        if (isExecutable(path)) {
            return path;
        }
    }
    return paths.empty() ? Path() : paths.front();
}

Path AITools::defaultWhisper() {
    return firstFound(whisperPlaces(base::Environment::homeFolder()));
}

Path AITools::defaultClaude() {
    return firstFound(claudePlaces(base::Environment::homeFolder()));
}

AITools AITools::resolve(const Search& search) {
    const auto whisper = firstFound(whisperPlaces(search.home), search.isExecutable);
    const auto claude = firstFound(claudePlaces(search.home), search.isExecutable);
    const auto normalWhisper = [&] {
        const bool canStandIn = search.standIn && !search.isExecutable(whisper);
        return canStandIn ? search.standIn().value_or(whisper) : whisper;
    };
    return {.whisper = testChoice(search, whisperVariable, whisper)
                           .or_else([&] { return std::optional(normalWhisper()); })
                           .value(),
            .claude = testChoice(search, claudeVariable, claude).value_or(claude)};
}

AITools AITools::current() {
    return resolve({.testMode = base::Environment::testMode(),
                    .variable = base::Environment::variable,
                    .home = base::Environment::homeFolder(),
                    .isExecutable = isExecutableFile,
                    .standIn = SpeechEngines::standIn});
}

bool AITools::whisperFound() const {
    return isExecutableFile(whisper);
}

bool AITools::claudeFound() const {
    return isExecutableFile(claude);
}

bool AITools::isExecutableFile(const Path& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored) &&
           ::faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) == 0;
}

} // namespace ai
