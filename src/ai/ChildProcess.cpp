#include "ai/ChildProcess_p.h"
#include "base/Files.h"

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace ai {
namespace {

using base::FileDescriptor;

constexpr int firstOwnDescriptor = 3;
constexpr int cannotExecute = 127;

std::unexpected<ProcessRunner::LaunchError> launchError(int code) {
    return std::unexpected(ProcessRunner::LaunchError{code, base::fileError(code).text});
}

/// Above the standard streams: a program started with one of them closed would get its number for a pipe, and the
/// child's dup2 would then overwrite what it still needs.
FileDescriptor aboveStandardStreams(int descriptor) {
    FileDescriptor low(descriptor);
    if (descriptor < 0 || descriptor >= firstOwnDescriptor) {
        return low;
    }
    return FileDescriptor(::fcntl(descriptor, F_DUPFD_CLOEXEC, firstOwnDescriptor));
}

struct Pipe {
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

std::expected<Pipe, int> makePipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return std::unexpected(errno);
    }
    Pipe made{aboveStandardStreams(ends[0]), aboveStandardStreams(ends[1])};
    if (!made.readEnd || !made.writeEnd) {
        return std::unexpected(errno);
    }
    return made;
}

void neverBlock(const FileDescriptor& descriptor) {
    ::fcntl(descriptor.get(), F_SETFL, ::fcntl(descriptor.get(), F_GETFL) | O_NONBLOCK);
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (auto& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

/// All that the child needs between fork and exec, made before: there it may not allocate.
struct ChildPlan {
    const char* executable = nullptr;
    char* const* arguments = nullptr;
    char* const* environment = nullptr;
    const char* directory = nullptr;
    int input = -1;
    int output = -1;
    int error = -1;
    int report = -1;
    pid_t parent = -1;
};

void resetSignals() noexcept {
    for (int number = 1; number < NSIG; ++number) {
        ::signal(number, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

void closeTheRestOnExec() noexcept {
    if (::syscall(SYS_close_range, firstOwnDescriptor, UINT_MAX, CLOSE_RANGE_CLOEXEC) == 0) {
        return;
    }
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    for (int descriptor = firstOwnDescriptor; descriptor < static_cast<int>(limit.rlim_cur); ++descriptor) {
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    }
}

/// The child's side of the fork. Only calls that are safe between fork and exec in a program with many threads.
[[noreturn]] void becomeProgram(const ChildPlan& plan) noexcept {
    resetSignals();
    // A killed recorder must not leave a transcription behind that works for hours for nobody.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != plan.parent) {
        ::_exit(cannotExecute);
    }
    ::setpgid(0, 0);
    const bool connected = ::dup2(plan.input, STDIN_FILENO) >= 0 && ::dup2(plan.output, STDOUT_FILENO) >= 0 &&
                           ::dup2(plan.error, STDERR_FILENO) >= 0;
    if (connected && (plan.directory == nullptr || ::chdir(plan.directory) == 0)) {
        closeTheRestOnExec();
        ::execve(plan.executable, plan.arguments, plan.environment);
    }
    const int code = errno;
    [[maybe_unused]] const auto written = ::write(plan.report, &code, sizeof code);
    ::_exit(cannotExecute);
}

/// fork with all signals blocked, so that no handler of ours ever runs in the child.
pid_t forkInto(const ChildPlan& plan) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t pid = ::fork();
    if (pid == 0) {
        becomeProgram(plan);
    }
    const int code = errno;
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    errno = code;
    return pid;
}

/// Blocks until the program runs (0) or could not be started (errno).
int launchResult(const FileDescriptor& report) {
    int code = 0;
    ssize_t got = 0;
    do {
        got = ::read(report.get(), &code, sizeof code);
    } while (got < 0 && errno == EINTR);
    return got == sizeof code ? code : 0;
}

/// nullopt in, null device out.
std::expected<Pipe, int> inputPipe(bool wanted) {
    if (wanted) {
        return makePipe();
    }
    Pipe nothing{aboveStandardStreams(::open("/dev/null", O_RDONLY | O_CLOEXEC)), {}};
    if (!nothing.readEnd) {
        return std::unexpected(errno);
    }
    return nothing;
}

} // namespace

std::expected<ChildProcess, ProcessRunner::LaunchError>
ChildProcess::launch(const ProcessRunner::Invocation& invocation) {
    auto input = inputPipe(invocation.standardInput.has_value());
    auto output = makePipe();
    auto error = makePipe();
    auto report = makePipe();
    for (const auto* pipe : {&input, &output, &error, &report}) {
        if (!*pipe) {
            return launchError(pipe->error());
        }
    }

    std::error_code ignored;
    const auto executable = std::filesystem::absolute(invocation.executable, ignored);
    std::vector<std::string> arguments{executable.native()};
    arguments.insert(arguments.end(), invocation.arguments.begin(), invocation.arguments.end());
    auto environment = ProcessRunner::environment();
    const auto argumentPointers = pointers(arguments);
    const auto environmentPointers = pointers(environment);

    const pid_t pid = forkInto({
        .executable = executable.c_str(),
        .arguments = argumentPointers.data(),
        .environment = environmentPointers.data(),
        .directory = invocation.directory ? invocation.directory->c_str() : nullptr,
        .input = input->readEnd.get(),
        .output = output->writeEnd.get(),
        .error = error->writeEnd.get(),
        .report = report->writeEnd.get(),
        .parent = ::getpid(),
    });
    if (pid < 0) {
        return launchError(errno);
    }
    ChildProcess child;
    child.m_pid = pid;
    report->writeEnd.reset();
    if (const int code = launchResult(report->readEnd); code != 0) {
        return launchError(code); // the destructor waits for what is left of it
    }
    child.ended = FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
    if (!child.ended) {
        return launchError(errno);
    }
    child.standardInput = std::move(input->writeEnd);
    child.standardOutput = std::move(output->readEnd);
    child.standardError = std::move(error->readEnd);
    for (const auto* end : {&child.standardInput, &child.standardOutput, &child.standardError}) {
        if (*end) {
            neverBlock(*end);
        }
    }
    return child;
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : standardInput(std::move(other.standardInput))
    , standardOutput(std::move(other.standardOutput))
    , standardError(std::move(other.standardError))
    , ended(std::move(other.ended))
    , m_pid(std::exchange(other.m_pid, -1)) {}

ChildProcess::~ChildProcess() {
    if (m_pid > 0) {
        signal(SIGKILL);
        [[maybe_unused]] const auto status = wait();
    }
}

void ChildProcess::signal(int number) const noexcept {
    // Until it is waited for, its number is taken even after its end, so this never hits a stranger.
    if (::getpgid(m_pid) != m_pid) {
        ::kill(m_pid, number); // it has moved to a group of its own making
    }
    ::kill(-m_pid, number);
}

std::int32_t ChildProcess::wait() noexcept {
    int status = 0;
    pid_t waited = -1;
    do {
        waited = ::waitpid(m_pid, &status, 0);
    } while (waited < 0 && errno == EINTR);
    m_pid = -1;
    if (waited < 0) {
        return -1;
    }
    return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace ai
