#include "base/Process.h"

#include <QByteArray>
#include <QDateTime>
#include <QTimeZone>

#include <csignal>
#include <cstdlib>
#include <ctime>
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

QByteArray twoDigits(int number) {
    return QByteArray::number(number).rightJustified(2, '0');
}

/// As TZ has it, where west of Greenwich is plus.
QByteArray zoneOfOffset(int secondsEast) {
    const int minutes = std::abs(secondsEast) / 60;
    return (secondsEast > 0 ? "<LOC>-" : "<LOC>+") + twoDigits(minutes / 60) + ':' + twoDigits(minutes % 60);
}

void nameTheTimeZone() {
    if (QTimeZone::systemTimeZone().isValid()) {
        return;
    }
    constexpr QByteArrayView folderOfZones("zoneinfo/");
    const QByteArray path = qgetenv("TZ");
    const qsizetype found = path.lastIndexOf(folderOfZones);
    const QByteArray name = found < 0 ? QByteArray() : path.sliced(found + folderOfZones.size());
    // Without a name what the clocks show now is the best there is.
    const QByteArray zone =
        QTimeZone(name).isValid() ? name : zoneOfOffset(QDateTime::currentDateTime().offsetFromUtc());
    qputenv("TZ", zone);
    ::tzset();
}

} // namespace

void prepareProcess() {
    openClosedStreams();
    nameTheTimeZone();
    inheritedMask = ::umask(forOthers);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

mode_t inheritedFileMask() noexcept {
    return inheritedMask;
}

} // namespace base
