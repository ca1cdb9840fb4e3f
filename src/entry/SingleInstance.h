// Only one process works on a data root at a time: a file in the root names it, by process id and executable.
//   File     "instance.lock": the decimal process id and the executable's path, each ended by a line end. It appears
//            whole or not at all; after a crash it stays and is found stale by the next start
//   Threads  claim and release: the main thread, at start and end. The rest: any, no state
//   Errors   none: whatever keeps the lock from being taken, the program starts without it
//   Races    claims on one root wait for each other (flock on the root's folder, for the length of a claim), so that
//            nobody can delete as stale what another has just put there
#pragma once

#include <QString>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>

namespace entry::SingleInstance {

struct Holder {
    std::int32_t pid = 0;
    QString path; ///< of the executable
    bool operator==(const Holder&) const = default;
};

using PathOfProcess = std::function<std::optional<QString>(std::int32_t pid)>;

/// Rounds of taking the lock before the program goes on without it.
inline constexpr int maxRounds = 3;
/// How long a claim waits for another one. Claims take milliseconds; only a stopped process takes longer. Seconds.
inline constexpr double claimWait = 10.0;

[[nodiscard]] std::filesystem::path url(const std::filesystem::path& root);
[[nodiscard]] QString text(const Holder& holder);
[[nodiscard]] std::optional<Holder> parse(const std::optional<QString>& text);
/// The process that `text` names, if it is not this one and its executable is still the one that is named: a process
/// id that another program got since then is no running instance.
[[nodiscard]] std::optional<Holder> other(const std::optional<QString>& text, std::int32_t ownPID,
                                          const PathOfProcess& pathOf);
/// nullopt: no such process, or one of another user. An executable that was replaced since its start keeps its path.
[[nodiscard]] std::optional<QString> executablePath(std::int32_t pid);

/// nullopt: this process may go on. A value: the instance that is running.
[[nodiscard]] std::optional<Holder> claim(const std::filesystem::path& root);
/// Gives the lock up if it is this process's.
void release(const std::filesystem::path& root);

} // namespace entry::SingleInstance
