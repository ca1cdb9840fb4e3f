// Deletes audio and screenshots after seven days and keeps all text for good.
//   Rule     the end of the meeting counts, a file's date only where there is no readable end: touching a file does not
//            keep it, and the audio and shots of a meeting go together
//   Errors   none: what can't be read or deleted stays for the next run
//   Threads  any; no state
#pragma once

#include <QDateTime>

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

namespace store::Retention {

inline constexpr int audioDays = 7;
/// A CAF is not among them: a track whose conversion failed may be the only copy.
inline constexpr std::array<const char*, 2> audioNames{"mic.m4a", "system.m4a"};
inline constexpr const char* shotsName = "shots";

/// Whether more than seven days lie between; exactly seven days are not over.
[[nodiscard]] bool isExpired(const QDateTime& modified, const QDateTime& now);
[[nodiscard]] std::optional<QDateTime> referenceDate(const std::optional<QDateTime>& meetingEnd,
                                                     const std::optional<QDateTime>& fileModified);
/// Whole days until the deletion, 0 once it is due.
[[nodiscard]] std::int64_t daysLeft(const QDateTime& end, const QDateTime& now);

/// Deletes what has expired in every folder of `meetings` that is not live, and gives the deleted paths.
std::vector<std::filesystem::path> prune(const std::filesystem::path& meetings, const QDateTime& now,
                                         const std::function<bool(const std::filesystem::path&)>& isLive);
/// The same with the folder that recording.lock names as the live one.
std::vector<std::filesystem::path> prune(const std::filesystem::path& meetings, const QDateTime& now);

} // namespace store::Retention
