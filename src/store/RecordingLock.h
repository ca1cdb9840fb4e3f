// "recording.lock" under the data root: which process is recording into which folder.
//   Shape    the process id in decimal and a line end; then the folder's standardized path and a line end, if there is
//            a folder
//   Promise  advisory: it rests on the process id; a lock of another live process is never removed
//   Threads  any; no state
#pragma once

#include "base/Files.h"

#include <QString>
#include <QStringView>

#include <cstdint>
#include <expected>
#include <filesystem>
#include <functional>
#include <optional>

namespace store::RecordingLock {

using ProcessID = std::int32_t;
using IsAlive = std::function<bool(ProcessID)>;

[[nodiscard]] std::filesystem::path url();
[[nodiscard]] ProcessID ownProcess();

/// The process id of a lock's text: its first line, trimmed, an optional sign allowed; nullopt if it is no number.
[[nodiscard]] std::optional<ProcessID> parse(QStringView text);
/// The folder of a lock's text: its second line, trimmed; nullopt if there is none.
[[nodiscard]] std::optional<QString> folderPath(QStringView text);

/// Whether a process of this id runs; one of another user counts. Ids below 1 name no process.
[[nodiscard]] bool processAlive(ProcessID process);

/// Whether a live process records into `folder`, by a lock's text.
[[nodiscard]] bool isLive(const std::filesystem::path& folder, const std::optional<QString>& lockText,
                          const IsAlive& isAlive);
/// Whether a live process other than `own` holds the lock.
[[nodiscard]] bool heldByOther(const std::optional<QString>& lockText, ProcessID own, const IsAlive& isAlive);

/// isLive over the lock file. A lock of this very process counts.
[[nodiscard]] bool isLive(const std::filesystem::path& folder);
/// heldByOther over the lock file.
[[nodiscard]] bool recordingElsewhere();

[[nodiscard]] std::expected<void, base::FileError> write(const std::optional<std::filesystem::path>& folder,
                                                         ProcessID process = ownProcess(),
                                                         const std::filesystem::path& lock = url());
/// Removes the lock only if it is that of `own`; whatever fails, nothing happens.
void remove(ProcessID own = ownProcess(), const std::filesystem::path& lock = url());
/// At launch: removes the lock unless another live process holds it. This process's own goes too, so that a process id
/// used again can't block itself.
void clearStale();

} // namespace store::RecordingLock
