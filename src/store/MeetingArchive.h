// Writes meta.json, and gives a finished recording its answers and its name.
//   Durability  a write is on the disk when it returns; a reader or a power cut sees the old file or the new one
//   Threads     any; no state
#pragma once

#include "base/Files.h"
#include "store/MeetingAnswers.h"
#include "store/MeetingMeta.h"
#include "store/StoppedSession.h"

#include <QString>
#include <QTimeZone>

#include <expected>
#include <filesystem>
#include <functional>
#include <optional>

namespace store::MeetingArchive {

/// The file's size above which it counts as unreadable. Bytes.
inline constexpr std::int64_t metaLimit = 16LL * 1024 * 1024;

[[nodiscard]] std::filesystem::path metaURL(const std::filesystem::path& folder);
[[nodiscard]] std::expected<void, base::FileError> writeMeta(const MeetingMeta& meta,
                                                             const std::filesystem::path& folder);
/// The strict reader over the folder's meta.json; nullopt if it is missing or not understood.
[[nodiscard]] std::optional<MeetingMeta> readMeta(const std::filesystem::path& folder);

/// Writes the whole record anew with the answers and moves the folder to its final name (the first free one); returns
/// where the folder is then. A practice take has no answers and keeps its name. A record that can't be written goes to
/// `onWarning` (may be empty) and stops nothing; a folder that can't be moved keeps its name without a word, which is
/// no loss.
[[nodiscard]] std::filesystem::path finalize(const StoppedSession& stopped,
                                             const std::optional<MeetingAnswers>& answers,
                                             const std::function<void(const QString&)>& onWarning,
                                             const QTimeZone& timeZone = QTimeZone::systemTimeZone());

} // namespace store::MeetingArchive
