// The folders that can be meetings.
#pragma once

#include <filesystem>
#include <vector>

namespace store {

/// The direct, non-hidden folders in `folder`, in no order; links do not count. Empty if it can't be listed.
[[nodiscard]] std::vector<std::filesystem::path> subfolders(const std::filesystem::path& folder);

} // namespace store
