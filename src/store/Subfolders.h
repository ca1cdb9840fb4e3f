// The folders that can be meetings.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace store {

/// The names of the direct, non-hidden folders in `folder`, in no order; links do not count. Empty if it can't be
/// listed.
[[nodiscard]] std::vector<std::string> subfolderNames(const std::filesystem::path& folder);

} // namespace store
