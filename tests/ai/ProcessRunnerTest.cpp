#include "ai/ProcessRunner.h"

#include "base/Environment.h"
#include "base/Files.h"

#include <QTemporaryDir>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <future>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using ai::ProcessRunner;
using testing::Contains;
using testing::HasSubstr;

namespace {

constexpr double longTimeout = 60.0;
/// So that a test need not wait for what a user would wait for.
constexpr ProcessRunner::Limits impatient{.killAfter = 0.05, .drain = 0.05, .capture = ProcessRunner::captureLimit};

ProcessRunner::Invocation shell(const std::string& script) {
    return {.executable = "/bin/sh", .arguments = {"-c", script}, .timeout = longTimeout};
}

ProcessRunner::Output ran(ProcessRunner& runner, const ProcessRunner::Invocation& invocation) {
    auto result = runner.run(invocation);
    EXPECT_TRUE(result.has_value());
    return result.value_or(ProcessRunner::Output{});
}

ProcessRunner::Output ran(const ProcessRunner::Invocation& invocation, ProcessRunner::Limits limits = {}) {
    ProcessRunner runner(limits);
    return ran(runner, invocation);
}

std::size_t openDescriptors() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

bool hasChildren() {
    return ::waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD;
}

/// Whether a process of that number lives (a zombie does not).
bool lives(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string stat((std::istreambuf_iterator<char>(file)), {});
    return !stat.empty() && stat.substr(stat.rfind(')')).find(" Z ") == std::string::npos;
}

class ProcessRunnerTest : public testing::Test {
protected:
    QTemporaryDir m_folder;

    [[nodiscard]] std::filesystem::path inFolder(const char* name) const {
        return base::pathFrom(m_folder.path()) / name;
    }

    /// Reads what a child writes into a FIFO: blocks until it does, and so tells when it has come that far.
    [[nodiscard]] std::string wordFrom(const std::filesystem::path& fifo) const {
        std::ifstream file(fifo);
        std::string word;
        file >> word;
        return word;
    }

    [[nodiscard]] std::filesystem::path makeFifo(const char* name) const {
        const auto path = inFolder(name);
        EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
        return path;
    }

    void TearDown() override { EXPECT_FALSE(hasChildren()) << "a zombie or an orphan was left"; }
};

} // namespace

TEST_F(ProcessRunnerTest, BothStreamsAndTheStatusAreReported) {
    const auto output = ran(shell("echo out; echo err >&2; exit 3"));
    EXPECT_EQ(output, (ProcessRunner::Output{.status = 3, .standardOutput = "out\n", .standardError = "err\n"}));
}

TEST_F(ProcessRunnerTest, AChildEndedByASignalReportsItsNumber) {
    EXPECT_EQ(ran(shell("kill -KILL $$")).status, SIGKILL);
}

TEST_F(ProcessRunnerTest, ArgumentsReachTheChildAsTheyAre) {
    const ProcessRunner::Invocation invocation{
        .executable = "/usr/bin/printf", .arguments = {"[%s]", "", "a b", "\"$HOME\"", "\xff"}, .timeout = longTimeout};
    EXPECT_EQ(ran(invocation).standardOutput, QByteArray("[][a b][\"$HOME\"][\xff]"));
}

TEST_F(ProcessRunnerTest, StandardInputArrivesWhole) {
    auto invocation = shell("cat");
    invocation.standardInput = QByteArray(3 * 1024 * 1024, 'x');
    EXPECT_EQ(ran(invocation).standardOutput, *invocation.standardInput);
}

TEST_F(ProcessRunnerTest, WithoutStandardInputTheChildReadsTheEndAtOnce) {
    EXPECT_EQ(ran(shell("cat; echo end")).standardOutput, "end\n");
}

TEST_F(ProcessRunnerTest, EmptyStandardInputIsAnEmptyStream) {
    auto invocation = shell("cat; echo end");
    invocation.standardInput = QByteArray();
    EXPECT_EQ(ran(invocation).standardOutput, "end\n");
}

TEST_F(ProcessRunnerTest, ManyMegabytesOnBothStreamsBeforeInputIsReadAllArrive) {
    auto invocation = shell("head -c 8000000 /dev/zero; head -c 8000000 /dev/zero >&2; wc -c");
    invocation.standardInput = QByteArray(4'000'000, 'x');
    const auto output = ran(invocation);
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.standardError.size(), 8'000'000);
    EXPECT_EQ(output.standardOutput.size(), 8'000'000 + 8);
    EXPECT_TRUE(output.standardOutput.endsWith("4000000\n"));
}

TEST_F(ProcessRunnerTest, WhatGoesBeyondTheLimitIsDroppedWithoutStallingTheChild) {
    const auto output = ran(shell("head -c 1000000 /dev/zero; echo done >&2"), {.capture = 70'000});
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.standardOutput.size(), 70'000);
    EXPECT_EQ(output.standardError, "done\n");
}

TEST_F(ProcessRunnerTest, AChildThatEndsWithoutReadingItsInputIsNoFailure) {
    auto invocation = shell("exec <&-; exit 0");
    invocation.standardInput = QByteArray(4'000'000, 'x');
    EXPECT_EQ(ran(invocation).status, 0);
}

TEST_F(ProcessRunnerTest, AMissingProgramIsALaunchErrorInTheSystemsWords) {
    ProcessRunner runner;
    const auto result = runner.run({.executable = "/nonexistent/program", .timeout = longTimeout});
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, ENOENT);
    EXPECT_EQ(result.error().text, base::fileError(ENOENT).text);
}

TEST_F(ProcessRunnerTest, AFileThatIsNoProgramIsALaunchError) {
    const auto path = inFolder("plain");
    ASSERT_TRUE(base::replaceFile(path, "not a program"));
    ProcessRunner runner;
    EXPECT_EQ(runner.run({.executable = path, .timeout = longTimeout}).error().code, EACCES);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    EXPECT_EQ(runner.run({.executable = path, .timeout = longTimeout}).error().code, ENOEXEC);
}

TEST_F(ProcessRunnerTest, AMissingWorkingFolderIsALaunchError) {
    auto invocation = shell("exit 0");
    invocation.directory = inFolder("missing");
    ProcessRunner runner;
    EXPECT_EQ(runner.run(invocation).error().code, ENOENT);
}

TEST_F(ProcessRunnerTest, TheChildStartsInItsWorkingFolder) {
    auto invocation = shell("pwd -P");
    invocation.directory = base::pathFrom(m_folder.path());
    const auto expected = std::filesystem::canonical(*invocation.directory).native() + "\n";
    EXPECT_EQ(ran(invocation).standardOutput.toStdString(), expected);
}

TEST_F(ProcessRunnerTest, ARunnerCanRunAgainAfterAFailedLaunch) {
    ProcessRunner runner;
    ASSERT_FALSE(runner.run({.executable = "/nonexistent/program", .timeout = longTimeout}));
    EXPECT_EQ(ran(runner, shell("exit 4")).status, 4);
}

TEST_F(ProcessRunnerTest, ExactlyPathAndHomeDifferFromOurEnvironment) {
    std::vector<std::string> expected;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text(*entry);
        if (!text.starts_with("PATH=") && !text.starts_with("HOME=")) {
            expected.push_back(text);
        }
    }
    expected.emplace_back("PATH=/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin");
    expected.push_back("HOME=" + base::Environment::homeFolder().native());
    EXPECT_THAT(ProcessRunner::environment(), testing::UnorderedElementsAreArray(expected));
}

TEST_F(ProcessRunnerTest, TheChildSeesThatEnvironment) {
    const auto output = ran(shell("echo \"$PATH\"; echo \"$HOME\""));
    EXPECT_EQ(output.standardOutput.toStdString(), "/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin\n" +
                                                       base::Environment::homeFolder().native() + "\n");
}

TEST_F(ProcessRunnerTest, OnlyTheThreeStreamsAreInherited) {
    const int leaky = ::open("/dev/null", O_RDONLY); // not marked to be closed
    ASSERT_GE(leaky, 0);
    const auto output = ran(shell("ls /proc/self/fd | tr '\\n' ' '"));
    ::close(leaky);
    EXPECT_EQ(output.standardOutput, "0 1 2 3 ") << "3 is the folder that ls itself reads";
}

TEST_F(ProcessRunnerTest, AProgramStartedWithoutStandardStreamsRunsItsChildrenAllTheSame) {
    const pid_t program = ::fork();
    if (program == 0) {
        ::close(STDIN_FILENO);
        ::close(STDOUT_FILENO);
        ::close(STDERR_FILENO);
        ProcessRunner runner;
        auto invocation = shell("cat; echo err >&2");
        invocation.standardInput = "in";
        const auto output = runner.run(invocation);
        const bool good = output && output->standardOutput == "in" && output->standardError == "err\n";
        ::_exit(good ? 0 : 1);
    }
    int status = 0;
    ::waitpid(program, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(ProcessRunnerTest, TheChildHasTheSignalsOfAFreshProgram) {
    const auto output = ran(shell("grep -E 'Sig(Blk|Ign)' /proc/self/status"));
    EXPECT_EQ(output.standardOutput, "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
}

TEST_F(ProcessRunnerTest, NoDescriptorStaysOpen) {
    [[maybe_unused]] const auto first = ran(shell("exit 0"));
    const auto before = openDescriptors();
    for (int i = 0; i < 20; ++i) {
        auto invocation = shell("echo x");
        invocation.standardInput = "y";
        [[maybe_unused]] const auto output = ran(invocation);
        ProcessRunner runner;
        EXPECT_FALSE(runner.run({.executable = "/nonexistent/program", .timeout = longTimeout}));
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(ProcessRunnerTest, ATimeoutOfZeroStopsAChildThatWouldHaveEndedByItself) {
    auto invocation = shell("exit 0");
    invocation.timeout = 0;
    const auto output = ran(invocation);
    EXPECT_TRUE(output.timedOut);
    EXPECT_FALSE(output.cancelled);
}

TEST_F(ProcessRunnerTest, ATimedOutRunReportsNoOutput) {
    auto invocation = shell("echo out; echo err >&2; exec sleep 1000");
    invocation.timeout = 0.05;
    const auto output = ran(invocation);
    EXPECT_EQ(output, (ProcessRunner::Output{.status = SIGTERM, .timedOut = true}));
}

TEST_F(ProcessRunnerTest, AChildThatIgnoresTermIsKilled) {
    const auto ready = makeFifo("ready");
    ProcessRunner runner(impatient);
    auto running = std::async(std::launch::async, [&] {
        return ran(runner, shell("trap '' TERM; echo ready > " + ready.native() + "; while :; do sleep 1000; done"));
    });
    ASSERT_EQ(wordFrom(ready), "ready");
    runner.cancel();
    const auto output = running.get();
    EXPECT_EQ(output.status, SIGKILL);
    EXPECT_TRUE(output.cancelled);
}

TEST_F(ProcessRunnerTest, AChildThatEndsOnTermInItsOwnWayIsLetDoSo) {
    const auto ready = makeFifo("ready");
    ProcessRunner runner;
    auto running = std::async(std::launch::async, [&] {
        return ran(runner,
                   shell("trap 'exit 7' TERM; echo ready > " + ready.native() + "; while :; do sleep 0.01; done"));
    });
    ASSERT_EQ(wordFrom(ready), "ready");
    runner.cancel();
    EXPECT_EQ(running.get(), (ProcessRunner::Output{.status = 7, .cancelled = true}));
}

TEST_F(ProcessRunnerTest, AStoppedChildTakesAlongWhatItHasStarted) {
    const auto ready = makeFifo("ready");
    ProcessRunner runner;
    auto running = std::async(std::launch::async, [&] {
        return ran(runner,
                   shell("(trap '' TERM; while :; do sleep 0.01; done) & echo $! > " + ready.native() + "; wait"));
    });
    const pid_t grandchild = std::stoi(wordFrom(ready));
    runner.cancel();
    EXPECT_TRUE(running.get().cancelled);
    while (lives(grandchild)) { // killed before run returned; the system may take a moment to carry it out
        std::this_thread::yield();
    }
}

TEST_F(ProcessRunnerTest, ADaemonThatHoldsStandardErrorDelaysTheReturnByTheDrainTimeOnly) {
    const auto alive = makeFifo("alive");
    const auto output = ran(shell("echo out; setsid sh -c 'echo $$ > " + alive.native() +
                                  "; exec sleep 1000' & "
                                  "read pid < " +
                                  alive.native() + "; echo $pid; exit 0"),
                            impatient);
    EXPECT_EQ(output.status, 0);
    EXPECT_FALSE(output.timedOut);
    EXPECT_TRUE(output.standardOutput.startsWith("out\n")) << "what came before is there";
    const pid_t daemon = output.standardOutput.mid(4).trimmed().toInt();
    EXPECT_TRUE(lives(daemon)) << "a run that nobody stopped leaves others alone";
    ::kill(daemon, SIGKILL);
}

TEST_F(ProcessRunnerTest, ACancelBeforeTheFirstRunLaunchesNothing) {
    const auto witness = inFolder("witness");
    ProcessRunner runner;
    runner.cancel();
    EXPECT_EQ(ran(runner, shell("touch " + witness.native())),
              (ProcessRunner::Output{.status = -1, .cancelled = true}));
    EXPECT_FALSE(std::filesystem::exists(witness));
}

TEST_F(ProcessRunnerTest, ACancelBetweenTwoRunsLaunchesNothingMore) {
    const auto witness = inFolder("witness");
    ProcessRunner runner;
    EXPECT_EQ(ran(runner, shell("exit 0")).status, 0);
    runner.cancel();
    EXPECT_EQ(ran(runner, shell("touch " + witness.native())),
              (ProcessRunner::Output{.status = -1, .cancelled = true}));
    EXPECT_FALSE(std::filesystem::exists(witness));
}

TEST_F(ProcessRunnerTest, ACancelledRunnerDoesNotEvenReportAMissingProgram) {
    ProcessRunner runner;
    runner.cancel();
    EXPECT_TRUE(ran(runner, {.executable = "/nonexistent/program", .timeout = longTimeout}).cancelled);
}

TEST_F(ProcessRunnerTest, TimeoutAndCancelTogetherAreBothReported) {
    const auto ready = makeFifo("ready");
    ProcessRunner runner(impatient);
    auto running = std::async(std::launch::async, [&] {
        auto invocation = shell("trap 'echo term > " + ready.native() + "' TERM; while :; do sleep 0.01; done");
        invocation.timeout = 0.2;
        return ran(runner, invocation);
    });
    ASSERT_EQ(wordFrom(ready), "term"); // the timeout has fired
    runner.cancel();
    const auto output = running.get();
    EXPECT_TRUE(output.timedOut);
    EXPECT_TRUE(output.cancelled);
    EXPECT_TRUE(output.standardOutput.isEmpty());
}

TEST_F(ProcessRunnerTest, CancelsFromManyThreadsWhileRunsStartAndEndDoNoHarm) {
    for (int round = 0; round < 30; ++round) {
        ProcessRunner runner;
        auto first = std::async(std::launch::async, [&] { runner.cancel(); });
        auto second = std::async(std::launch::async, [&] { runner.cancel(); });
        const auto output = ran(runner, shell("exit 0"));
        first.get();
        second.get();
        EXPECT_TRUE(output.cancelled || output.status == 0);
        EXPECT_TRUE(ran(runner, shell("exit 0")).cancelled);
    }
}

TEST_F(ProcessRunnerTest, TheChildDiesWithAKilledParent) {
    const auto ready = makeFifo("ready");
    const pid_t parent = ::fork();
    if (parent == 0) {
        ProcessRunner runner;
        [[maybe_unused]] const auto result = runner.run(shell("echo $$ > " + ready.native() + "; exec sleep 1000"));
        ::_exit(0);
    }
    const pid_t child = std::stoi(wordFrom(ready));
    ::kill(parent, SIGKILL);
    ::waitpid(parent, nullptr, 0);
    while (lives(child)) {
        std::this_thread::yield();
    }
}

TEST_F(ProcessRunnerTest, TheLimitsAreFiveSecondsEach) {
    EXPECT_EQ(ProcessRunner::killAfterSeconds, 5.0);
    EXPECT_EQ(ProcessRunner::drainSeconds, 5.0);
    EXPECT_EQ(ProcessRunner::Limits{}.killAfter, 5.0);
    EXPECT_EQ(ProcessRunner::Limits{}.drain, 5.0);
}
