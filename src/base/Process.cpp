#include "base/Process.h"

#include <csignal>
#include <fcntl.h>
#include <initializer_list>
#include <sys/stat.h>
#include <unistd.h>

namespace base {

namespace {

constexpr mode_t forOthers = S_IRWXG | S_IRWXO;

mode_t inheritedMask = S_IWGRP | S_IWOTH; // set once, before there are threads

void openClosedStreams() {
    // A file gets the lowest free number, so that those below are taken already when it is one's turn.
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) < 0) {
            [[maybe_unused]] const int opened = ::open("/dev/null", O_RDWR);
        }
    }
}

} // namespace

void prepareProcess() {
    openClosedStreams();
    inheritedMask = ::umask(forOthers);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

mode_t inheritedFileMask() noexcept {
    return inheritedMask;
}

} // namespace base
