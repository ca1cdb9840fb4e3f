#include "store/Subfolders.h"

#include <system_error>

namespace store {

namespace fs = std::filesystem;

std::vector<fs::path> subfolders(const fs::path& folder) {
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code unknown;
        // Asked this way, the answer comes with the listing and costs no look at the entry.
        if (!entry->is_symlink(unknown) && entry->is_directory(unknown) &&
            !entry->path().filename().native().starts_with('.')) {
            found.push_back(entry->path());
        }
    }
    return error ? std::vector<fs::path>() : found;
}

} // namespace store
