#include "media/TrackFile.h"

#include "fakes/TemporaryFolder.h"
#include "media/Tracks.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <functional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace media {
namespace {

std::vector<std::byte> someBytes(std::size_t count) {
    return std::vector<std::byte>(count, std::byte{'x'});
}

TEST(TrackFile, IsNewAndForItsUserAlone) {
    const fakes::TemporaryFolder folder;
    const auto path = folder / "mic.caf";
    const auto file = createTrackFile(path);
    ASSERT_TRUE(file);
    struct stat status{};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    ASSERT_TRUE((*file)->writeAt(0, someBytes(3)));
    ASSERT_TRUE(createTrackFile(path));
    EXPECT_EQ(std::filesystem::file_size(path), 0U);
}

TEST(TrackFile, WhatWasWrittenStandsInTheFileAtOnce) {
    const fakes::TemporaryFolder folder;
    const auto path = folder / "mic.caf";
    const auto file = createTrackFile(path);
    ASSERT_TRUE((*file)->writeAt(0, someBytes(1000)));
    EXPECT_EQ(bytesOf(path).size(), 1000U);
    ASSERT_TRUE((*file)->writeAt(998, someBytes(4)));
    EXPECT_EQ(bytesOf(path).size(), 1002U);
    ASSERT_TRUE((*file)->truncate(10));
    EXPECT_EQ(bytesOf(path).size(), 10U);
    EXPECT_TRUE((*file)->flush());
    EXPECT_TRUE((*file)->close());
    EXPECT_TRUE((*file)->flush()) << "a flush that comes late finds nothing to do";
}

TEST(TrackFile, NothingButARegularFileIsOpened) {
    const fakes::TemporaryFolder folder;
    EXPECT_FALSE(createTrackFile(folder.path)) << "a folder";
    const auto target = folder / "target";
    writeBytes(target, {'x'});
    std::filesystem::create_symlink(target, folder / "link.caf");
    EXPECT_FALSE(createTrackFile(folder / "link.caf"));
    EXPECT_EQ(bytesOf(target).size(), 1U);
    const auto pipe = folder / "pipe.caf";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_FALSE(createTrackFile(pipe));
}

TEST(TrackFile, AFolderThatIsMissingIsToldInTheSystemsWords) {
    const fakes::TemporaryFolder folder;
    const auto file = createTrackFile(folder / "none" / "mic.caf");
    ASSERT_FALSE(file);
    EXPECT_EQ(file.error().text, QString::fromLocal8Bit(std::strerror(ENOENT)));
}

/// Runs `body` in a child whose files can have `limit` bytes; whether it was content.
bool inChildWithFileLimit(rlim_t limit, const std::function<bool()>& body) {
    const pid_t child = ::fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit files{limit, limit};
        ::setrlimit(RLIMIT_FSIZE, &files);
        ::_exit(body() ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST(TrackFile, AWriteBeyondWhatTheSystemAllowsFailsAndWhatStoodBeforeStays) {
    const fakes::TemporaryFolder folder;
    const auto path = folder / "mic.caf";
    EXPECT_TRUE(inChildWithFileLimit(100, [&] {
        const auto file = createTrackFile(path);
        return file && (*file)->writeAt(0, someBytes(90)) && !(*file)->writeAt(90, someBytes(20)) &&
               (*file)->truncate(90);
    }));
    EXPECT_EQ(bytesOf(path).size(), 90U);
}

} // namespace
} // namespace media
