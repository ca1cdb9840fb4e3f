#include "entry/StoreFiles.h"

#include "base/Files.h"
#include "store/MeetingArchive.h"
#include "store/RecordingLock.h"

namespace entry {

namespace fs = std::filesystem;

namespace {

RecordingFiles::Result inWords(const std::expected<void, base::FileError>& result) {
    return result ? RecordingFiles::Result() : std::unexpected(result.error().text);
}

} // namespace

bool StoreFiles::exists(const fs::path& path) {
    std::error_code error;
    // A dangling link takes the name too. Where nothing can be told the name counts as free, and making it tells why.
    return fs::exists(fs::symlink_status(path, error));
}

RecordingFiles::Result StoreFiles::makeFolders(const fs::path& folder) {
    return inWords(base::makeFolders(folder));
}

RecordingFiles::Result StoreFiles::writeLock(const fs::path& folder) {
    return inWords(store::RecordingLock::write(folder));
}

void StoreFiles::removeLock() {
    store::RecordingLock::remove();
}

RecordingFiles::Result StoreFiles::writeMeta(const store::MeetingMeta& meta, const fs::path& folder) {
    return inWords(store::MeetingArchive::writeMeta(meta, folder));
}

RecordingFiles::Result StoreFiles::makeDurable(const fs::path& file) {
    auto flushed = base::flushFile(file);
    if (flushed) {
        flushed = base::flushFolder(file.parent_path()); // without its entry the content can't be found
    }
    return inWords(flushed);
}

void StoreFiles::removeFile(const fs::path& file) {
    std::error_code ignored;
    fs::remove(file, ignored);
}

void StoreFiles::removeFolder(const fs::path& folder) {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

} // namespace entry
