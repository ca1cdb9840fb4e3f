#include "base/Process.h"

#include "base/Output.h"
#include "fakes/TemporaryFolder.h"

#include <QDateTime>
#include <QTimeZone>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Each test runs in a process of its own, since what it settles is settled for good.
using testing::ExitedWithCode;

[[noreturn]] void endWith(bool well) {
    ::_exit(well ? 0 : 1);
}

[[noreturn]] void printToNobody() {
    std::signal(SIGPIPE, SIG_DFL);
    base::prepareProcess();
    std::array<int, 2> ends{};
    const bool piped = ::pipe(ends.data()) == 0 && ::close(ends[0]) == 0 && ::dup2(ends[1], STDOUT_FILENO) >= 0;
    base::printLine(u"nobody hears this");
    endWith(piped);
}

[[noreturn]] void writeBeyondTheLimit(const base::fs::path& path) {
    std::signal(SIGXFSZ, SIG_DFL);
    base::prepareProcess();
    const int file = ::open(path.c_str(), O_CREAT | O_WRONLY, 0600);
    const rlimit none{.rlim_cur = 0, .rlim_max = RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &none);
    endWith(file >= 0 && ::write(file, "x", 1) < 0 && errno == EFBIG);
}

TEST(ProcessDeathTest, AReaderThatHasGoneAwayIsNotTheEnd) {
    EXPECT_EXIT(printToNobody(), ExitedWithCode(0), "");
}

TEST(ProcessDeathTest, AFileThatMayNotGrowIsAFailedWriteAndNotTheEnd) {
    const fakes::TemporaryFolder folder;
    EXPECT_EXIT(writeBeyondTheLimit(folder / "track"), ExitedWithCode(0), "");
}

TEST(ProcessDeathTest, NoFileGetsTheNumberOfAStreamThatCameClosed) {
    for (const int closed : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        EXPECT_EXIT(
            {
                ::close(closed);
                base::prepareProcess();
                endWith(::open("/dev/null", O_RDONLY) > STDERR_FILENO);
            },
            ExitedWithCode(0), "")
            << closed;
    }
    EXPECT_EXIT(
        {
            ::close(STDIN_FILENO);
            ::close(STDOUT_FILENO);
            ::close(STDERR_FILENO);
            base::prepareProcess();
            const int file = ::open("/dev/null", O_RDONLY);
            endWith(file > STDERR_FILENO && ::write(STDOUT_FILENO, "x", 1) == 1);
        },
        ExitedWithCode(0), "");
}

TEST(ProcessDeathTest, StreamsThatAreOpenAreLeftAlone) {
    EXPECT_EXIT(
        {
            base::prepareProcess();
            static_cast<void>(::write(STDERR_FILENO, "heard", 5));
            endWith(true);
        },
        ExitedWithCode(0), "heard");
}

TEST(ProcessDeathTest, WhatIsMadeIsForThisUserAlone) {
    EXPECT_EXIT(
        {
            ::umask(0);
            base::prepareProcess();
            endWith(::umask(0) == 077);
        },
        ExitedWithCode(0), "");
}

[[noreturn]] void nameZone(const char* variable, const char* expected) {
    ::setenv("TZ", variable, 1);
    base::prepareProcess();
    const QDateTime winter(QDate(2025, 1, 7), QTime(1, 30), Qt::UTC);
    const auto shown = winter.toTimeZone(QTimeZone::systemTimeZone());
    ::fputs(shown.toString(Qt::ISODate).toUtf8().constData(), stderr);
    endWith(qgetenv("TZ") == expected);
}

TEST(ProcessDeathTest, ATimeZoneNamedByItsFileIsKnown) {
    EXPECT_EXIT(nameZone("/usr/share/zoneinfo/Asia/Taipei", "Asia/Taipei"), ExitedWithCode(0),
                "2025-01-07T09:30:00.08:00");
    EXPECT_EXIT(nameZone(":/usr/share/zoneinfo/America/New_York", "America/New_York"), ExitedWithCode(0),
                "2025-01-06T20:30:00-05:00");
}

TEST(ProcessDeathTest, ATimeZoneThatThereIsNotShowsWhatTheClocksShow) {
    EXPECT_EXIT(nameZone("Nowhere/At_All", "<LOC>+00:00"), ExitedWithCode(0), "2025-01-07T01:30:00.00:00");
    const fakes::TemporaryFolder folder;
    base::fs::copy_file("/usr/share/zoneinfo/Asia/Kolkata", folder / "zone");
    EXPECT_EXIT(nameZone((folder / "zone").c_str(), "<LOC>-05:30"), ExitedWithCode(0), "2025-01-07T07:00:00.05:30");
}

TEST(ProcessDeathTest, ATimeZoneThatIsKnownKeepsItsName) {
    EXPECT_EXIT(nameZone("CST-8", "CST-8"), ExitedWithCode(0), "2025-01-07T09:30:00.08:00");
}

TEST(ProcessDeathTest, TheMaskOfTheStartIsRemembered) {
    EXPECT_EXIT(
        {
            ::umask(027);
            base::prepareProcess();
            endWith(base::inheritedFileMask() == 027);
        },
        ExitedWithCode(0), "");
}

} // namespace
