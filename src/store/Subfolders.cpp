#include "store/Subfolders.h"

#include "base/Handle.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace store {

namespace {

bool isFolder(DIR* listed, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN) {
        return entry.d_type == DT_DIR;
    }
    struct stat status{}; // some file systems do not tell with the listing
    return ::fstatat(::dirfd(listed), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

// The system's own listing: the standard library's makes a path of every entry, which costs more than reading a record.
std::vector<std::string> subfolderNames(const std::filesystem::path& folder) {
    const base::Owned<DIR, ::closedir> listed(::opendir(folder.c_str()));
    if (!listed) {
        return {};
    }
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(listed.get());
        if (entry == nullptr) {
            return errno == 0 ? names : std::vector<std::string>();
        }
        if (entry->d_name[0] != '.' && isFolder(listed.get(), *entry)) {
            names.emplace_back(entry->d_name);
        }
    }
}

} // namespace store
