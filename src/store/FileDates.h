// When a file was made and last written, as far as the file system tells.
//   Links    the date of a link is its own
//   Threads  any; no state
#pragma once

#include <QDateTime>

#include <filesystem>
#include <optional>

namespace store::FileDates {

[[nodiscard]] std::optional<QDateTime> modified(const std::filesystem::path& path);
[[nodiscard]] std::optional<QDateTime> created(const std::filesystem::path& path);

} // namespace store::FileDates
