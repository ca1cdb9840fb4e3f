#include "ai/ProcessRunner.h"

#include "ai/ChildProcess_p.h"
#include "ai/RunDeadlines_p.h"
#include "base/Environment.h"
#include "base/Files.h"
#include "base/HostClock.h"

#include <array>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <poll.h>
#include <string_view>
#include <sys/eventfd.h>
#include <unistd.h>

namespace ai {
namespace {

constexpr std::string_view childPath = "/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin";
constexpr qsizetype chunkBytes = 64 * 1024;
constexpr double longestPollSeconds = 3600.0;

/// A child that dies while it is written to must give a write error, not end this program. And whoever started us with
/// SIGCHLD ignored would take away every child's exit status.
void prepareSignals() {
    static std::once_flag once;
    std::call_once(once, [] {
        ::signal(SIGPIPE, SIG_IGN);
        struct sigaction current{};
        if (::sigaction(SIGCHLD, nullptr, &current) == 0 && current.sa_handler == SIG_IGN) {
            ::signal(SIGCHLD, SIG_DFL);
        }
    });
}

/// Takes in what is there, one chunk, so that no stream keeps the other or the clock waiting. Closes at the end.
void readChunk(base::FileDescriptor& stream, QByteArray& into, qsizetype limit) {
    std::array<char, chunkBytes> chunk;
    const auto got = ::read(stream.get(), chunk.data(), chunk.size());
    if (got > 0) {
        into.append(chunk.data(), std::min<qsizetype>(got, limit - into.size()));
    } else if (got == 0 || (errno != EAGAIN && errno != EINTR)) {
        stream.reset();
    }
}

/// Writes what the pipe takes. Closes when all is written or nobody reads any more.
void writeChunk(base::FileDescriptor& stream, QByteArrayView& rest) {
    const auto put = ::write(stream.get(), rest.data(), static_cast<std::size_t>(rest.size()));
    if (put >= 0) {
        rest = rest.sliced(put);
    }
    if (rest.isEmpty() || (put < 0 && errno != EAGAIN && errno != EINTR)) {
        stream.reset();
    }
}

int pollMilliseconds(double seconds) {
    // Rounded up: a poll that wakes just before the moment would turn in circles until it.
    return static_cast<int>(std::ceil(std::clamp(seconds, 0.0, longestPollSeconds) * 1000.0));
}

/// One run: moves bytes, watches the clock, and acts on what RunDeadlines says.
class Run {
public:
    Run(ChildProcess child, const ProcessRunner::Invocation& invocation, const ProcessRunner::Limits& limits, int wake)
        : m_child(std::move(child))
        , m_input(invocation.standardInput ? QByteArrayView(*invocation.standardInput) : QByteArrayView())
        , m_captureLimit(limits.capture)
        , m_wake(wake)
        , m_deadlines(m_clock.now(), invocation.timeout, {.killAfter = limits.killAfter, .drain = limits.drain}) {
        if (m_input.isEmpty()) {
            m_child.standardInput.reset();
        }
    }

    [[nodiscard]] ProcessRunner::Output toTheEnd() {
        while (!isOver()) {
            waitAndMove();
        }
        return {.status = m_status,
                .standardOutput = std::move(m_output),
                .standardError = std::move(m_error),
                .timedOut = m_deadlines.timedOut()};
    }

private:
    /// Does what is due. True when there is nothing left to wait for.
    [[nodiscard]] bool isOver() {
        for (;;) {
            switch (m_deadlines.next(m_clock.now())) {
            case RunDeadlines::Action::Terminate:
                m_child.signal(SIGTERM);
                break;
            case RunDeadlines::Action::Kill:
                m_child.signal(SIGKILL);
                break;
            case RunDeadlines::Action::Finish:
                return true;
            case RunDeadlines::Action::Wait:
                return m_deadlines.hasExited() && !m_child.standardOutput && !m_child.standardError;
            }
        }
    }

    void waitAndMove() {
        // A descriptor of -1 is passed over by poll.
        std::array<pollfd, 5> watched{{
            {m_child.standardInput.get(), POLLOUT, 0},
            {m_child.standardOutput.get(), POLLIN, 0},
            {m_child.standardError.get(), POLLIN, 0},
            {m_child.ended.get(), POLLIN, 0},
            {m_wake, POLLIN, 0},
        }};
        if (::poll(watched.data(), watched.size(), pollMilliseconds(m_deadlines.nextChange() - m_clock.now())) <= 0) {
            return;
        }
        if (watched[0].revents != 0) {
            writeChunk(m_child.standardInput, m_input);
        }
        if (watched[1].revents != 0) {
            readChunk(m_child.standardOutput, m_output, m_captureLimit);
        }
        if (watched[2].revents != 0) {
            readChunk(m_child.standardError, m_error, m_captureLimit);
        }
        if (watched[3].revents != 0) {
            childEnded();
        }
        if (watched[4].revents != 0) {
            m_wake = -1;
            m_deadlines.cancelled();
        }
    }

    void childEnded() {
        if (m_deadlines.stopped()) {
            m_child.signal(SIGKILL); // what it has started and left behind
        }
        m_status = m_child.wait();
        m_child.ended.reset();
        m_child.standardInput.reset();
        m_deadlines.exited(m_clock.now());
    }

    base::MonotonicClock m_clock;
    ChildProcess m_child;
    QByteArrayView m_input;
    QByteArray m_output;
    QByteArray m_error;
    qsizetype m_captureLimit;
    int m_wake;
    std::int32_t m_status = -1;
    RunDeadlines m_deadlines;
};

} // namespace

std::expected<ProcessRunner::Output, ProcessRunner::LaunchError> ProcessRunner::run(const Invocation& invocation) {
    prepareSignals();
    const base::FileDescriptor wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!wake) {
        return std::unexpected(LaunchError{errno, base::fileError(errno).text});
    }
    {
        const std::scoped_lock lock(m_mutex);
        if (m_cancelled) {
            return Output{.cancelled = true};
        }
        m_wake = wake.get();
    }
    std::expected<Output, LaunchError> result = Output{};
    if (auto child = ChildProcess::launch(invocation)) {
        result = Run(std::move(*child), invocation, m_limits, wake.get()).toTheEnd();
    } else {
        result = std::unexpected(std::move(child.error()));
    }

    const std::scoped_lock lock(m_mutex);
    m_wake = -1;
    if (result) {
        result->cancelled = m_cancelled;
        if (result->cancelled || result->timedOut) {
            result->standardOutput.clear();
            result->standardError.clear();
        }
    }
    return result;
}

void ProcessRunner::cancel() {
    const std::scoped_lock lock(m_mutex);
    m_cancelled = true;
    if (m_wake >= 0) {
        ::eventfd_write(m_wake, 1);
    }
}

std::vector<std::string> ProcessRunner::environment() {
    std::vector<std::string> result;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view text(*entry);
        if (!text.starts_with("PATH=") && !text.starts_with("HOME=")) {
            result.emplace_back(text);
        }
    }
    result.push_back("PATH=" + std::string(childPath));
    result.push_back("HOME=" + base::Environment::homeFolder().native());
    return result;
}

} // namespace ai
