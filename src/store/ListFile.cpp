#include "store/ListFile.h"

#include <cerrno>
#include <sys/stat.h>

namespace store {

bool somethingAt(const base::fs::path& path) {
    struct stat status{};
    if (::lstat(path.c_str(), &status) == 0) {
        return true;
    }
    return errno != ENOENT && errno != ENOTDIR; // what can't be looked at may well be there
}

void ensureListFile(const base::fs::path& path, const QByteArray& bytes) {
    if (somethingAt(path)) {
        return;
    }
    [[maybe_unused]] const auto made = base::makeFolders(path.parent_path());
    [[maybe_unused]] const auto written = base::replaceFile(path, bytes);
}

} // namespace store
