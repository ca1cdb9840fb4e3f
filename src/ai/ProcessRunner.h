// Runs one child program at a time to its end: with a time limit, a way to cancel it, and all that it wrote.
//   Units    seconds, on the host clock (CLOCK_MONOTONIC)
//   Threads  run: one at a time, it blocks its thread until the child has ended. cancel: any thread, at any moment,
//            also before the first run and between two runs
//   Owns     its child: it is always waited for, and it dies with this process, also when that is killed outright
//   Children get the three standard streams and no other descriptor, every signal as a fresh program has it, and a
//            process group of their own, so that a stopped child takes along what it has started
//   Errors   only a launch can fail; how a child ended is told by the Output
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <expected>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace ai {

class ProcessRunner {
public:
    /// A stopped child has this long after SIGTERM before SIGKILL.
    static constexpr double killAfterSeconds = 5.0;
    /// What still holds the child's streams open after its end is listened to for this long.
    static constexpr double drainSeconds = 5.0;
    /// Bytes kept of each stream. What a child writes beyond them is read and dropped, so that it never stalls.
    static constexpr qsizetype captureLimit = 256 * 1024 * 1024;

    struct Limits {
        double killAfter = killAfterSeconds;
        double drain = drainSeconds;
        qsizetype capture = captureLimit;
    };

    struct Invocation {
        std::filesystem::path executable{};   ///< a relative one is taken from this process's folder, not `directory`
        std::vector<std::string> arguments{}; ///< without the program's own name
        std::optional<QByteArray> standardInput{};        ///< nullopt: the child reads end of file at once
        std::optional<std::filesystem::path> directory{}; ///< the child's working directory
        double timeout = 0;                               ///< 0 or less stops the child as soon as it runs
    };

    struct Output {
        std::int32_t status = -1;    ///< exit status; the signal's number if one ended it; -1: never launched
        QByteArray standardOutput{}; ///< empty after a timeout or a cancel
        QByteArray standardError{};  ///< likewise
        bool timedOut = false;
        bool cancelled = false; ///< both can be true: ask for this one first
        bool operator==(const Output&) const = default;
    };

    struct LaunchError {
        int code = 0;   ///< errno
        QString text{}; ///< what the system says about it
        bool operator==(const LaunchError&) const = default;
    };

    ProcessRunner() = default;

    explicit ProcessRunner(Limits limits) : m_limits(limits) {}

    ProcessRunner(const ProcessRunner&) = delete;
    ProcessRunner& operator=(const ProcessRunner&) = delete;

    [[nodiscard]] std::expected<Output, LaunchError> run(const Invocation& invocation);
    /// Stops the running child and lets no further one start: every later run returns at once.
    void cancel();

    /// "NAME=value" of every child: this process's environment with a fixed PATH and the user's HOME.
    [[nodiscard]] static std::vector<std::string> environment();

private:
    Limits m_limits;
    mutable std::mutex m_mutex; ///< guards the two below
    bool m_cancelled = false;
    int m_wake = -1; ///< eventfd of the run in progress; owned by run
};

} // namespace ai
