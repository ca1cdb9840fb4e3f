// brieflet-whisper: takes the command line of the transcription tool and does its work with whichever speech engine is
// on this machine. Exit status 0: the JSON file is there. 1: it is not, the last line of standard error says why. 2:
// the command line is wrong.

#include "adapter/CommandLine.h"
#include "adapter/Settings.h"
#include "adapter/Transcription.h"
#include "base/Environment.h"
#include "media/AudioReader.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace {

int fail(int status, const std::string& line) {
    std::fprintf(stderr, "%s\n", line.c_str());
    return status;
}

int run(std::span<const std::string> arguments) {
    auto request = adapter::parseCommandLine(arguments);
    if (!request) {
        return fail(2, request.error());
    }
    const auto settings = adapter::readSettings(base::Environment::variable, adapter::settingsFile());
    if (!request->language) {
        request->language = settings.language;
    }
    const base::MonotonicClock clock;
    const auto result = adapter::transcribe(
        *request,
        {.engines = ai::SpeechEngines::find({.root = "/", .home = base::Environment::homeFolder()}, settings.wishes),
         .threads = settings.threads.value_or(std::max(1U, std::thread::hardware_concurrency())),
         .clock = clock,
         .secondsAllowed = adapter::secondsAllowed(media::lengthOf(request->audio).value_or(0.0))});
    if (!result) {
        return fail(1, result.error());
    }
    std::printf("%s\n", result->c_str());
    return 0;
}

} // namespace

int main(int count, char** values) {
    ::umask(S_IRWXG | S_IRWXO);
    ::signal(SIGPIPE, SIG_IGN);
    try {
        return run(std::vector<std::string>(values + 1, values + count));
    } catch (const std::exception& error) {
        return fail(1, std::string("brieflet-whisper: ") + error.what());
    }
}
