#include "base/Files.h"

#include "base/Handle.h"

#include <QRegularExpression>
#include <QStringDecoder>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <random>
#include <string>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace base {

using namespace Qt::StringLiterals;

namespace {

constexpr mode_t fileMode = S_IRUSR | S_IWUSR;
constexpr mode_t folderMode = S_IRWXU;

std::unexpected<FileError> failure(int code) {
    return std::unexpected(fileError(code));
}

fs::path temporaryBeside(const fs::path& path) {
    static thread_local std::mt19937_64 random{std::random_device{}()};
    std::string name = "." + path.filename().string();
    // The longest name a file system takes is 255 bytes; what tells the temporary files apart comes last.
    name.resize(std::min<std::size_t>(name.size(), 200));
    name += "." + std::to_string(::getpid()) + "-" + std::to_string(random()) + ".tmp";
    return path.parent_path() / name;
}

std::expected<void, FileError> writeAll(int descriptor, const QByteArray& bytes) {
    const char* from = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t written = ::write(descriptor, from, static_cast<std::size_t>(left));
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return failure(errno);
        }
        from += written;
        left -= written;
    }
    return {};
}

/// Writes, flushes and closes the temporary file; every step is checked, since a full disk may speak up only at the
/// last.
std::expected<void, FileError> writeNewFile(const fs::path& path, const QByteArray& bytes) {
    FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, fileMode));
    if (!file) {
        return failure(errno);
    }
    if (auto written = writeAll(file.get(), bytes); !written) {
        return written;
    }
    if (::fsync(file.get()) != 0) {
        return failure(errno);
    }
    if (::close(file.release()) != 0) {
        return failure(errno);
    }
    return {};
}

fs::path folderOf(const fs::path& path) {
    const fs::path folder = path.parent_path();
    return folder.empty() ? fs::path(".") : folder;
}

std::expected<void, FileError> flush(const fs::path& path, int flags) {
    const FileDescriptor descriptor(::open(path.c_str(), flags | O_CLOEXEC));
    if (!descriptor) {
        return failure(errno);
    }
    // Some file systems can't flush a folder and say so by EINVAL; they have no entry to lose then.
    if (::fsync(descriptor.get()) != 0 && !((flags & O_DIRECTORY) != 0 && errno == EINVAL)) {
        return failure(errno);
    }
    return {};
}

} // namespace

FileError fileError(int code) {
    const auto kind = code == ENOENT || code == ENOTDIR ? FileError::Kind::Missing : FileError::Kind::Other;
    return {kind, code, qt_error_string(code)};
}

std::expected<QByteArray, FileError> readFile(const fs::path& path, std::int64_t limit) {
    return readFileAt(AT_FDCWD, path.native(), limit);
}

std::expected<QByteArray, FileError> readFileAt(int folder, const std::string& path, std::int64_t limit) {
    // Opening a pipe without a writer would wait for ever; a regular file does not care about the flag.
    const FileDescriptor file(::openat(folder, path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!file) {
        return failure(errno);
    }
    struct stat status{};
    if (::fstat(file.get(), &status) != 0) {
        return failure(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        const int code = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return std::unexpected(FileError{FileError::Kind::NotRegular, code, qt_error_string(code)});
    }
    if (status.st_size > limit) {
        return std::unexpected(FileError{FileError::Kind::TooLarge, EFBIG, qt_error_string(EFBIG)});
    }
    // One byte more than told shows the end of the file in the same call, and a file that grows meanwhile.
    QByteArray bytes(static_cast<qsizetype>(status.st_size) + 1, Qt::Uninitialized);
    qsizetype size = 0;
    for (;;) {
        if (size == bytes.size()) {
            if (size > limit) {
                return std::unexpected(FileError{FileError::Kind::TooLarge, EFBIG, qt_error_string(EFBIG)});
            }
            bytes.resize(std::min<qsizetype>(size * 2, static_cast<qsizetype>(limit) + 1));
        }
        const ssize_t got = ::read(file.get(), bytes.data() + size, static_cast<std::size_t>(bytes.size() - size));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return failure(errno);
        }
        size += got;
        if (got == 0 || (size == status.st_size && size < bytes.size())) {
            break; // at the end that was told, with room for more that did not come
        }
    }
    bytes.truncate(size);
    return bytes;
}

std::expected<QString, FileError> readText(const fs::path& path, std::int64_t limit) {
    const auto bytes = readFile(path, limit);
    if (!bytes) {
        return std::unexpected(bytes.error());
    }
    // Stateless: a sequence cut off at the end is an error and not the start of more. Drops a byte-order mark.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(*bytes);
    if (decoder.hasError()) {
        return std::unexpected(FileError{FileError::Kind::Other, EILSEQ, qt_error_string(EILSEQ)});
    }
    return text;
}

std::expected<void, FileError> replaceFile(const fs::path& path, const QByteArray& bytes) {
    const fs::path temporary = temporaryBeside(path);
    auto result = writeNewFile(temporary, bytes);
    if (result && ::rename(temporary.c_str(), path.c_str()) != 0) {
        result = failure(errno);
    }
    if (!result) {
        ::unlink(temporary.c_str());
        return result;
    }
    return flushFolder(folderOf(path));
}

void removeTemporaries(const fs::path& folder) {
    static const QRegularExpression pattern(uR"(^\..+\.\d+-\d+\.tmp$)"_s,
                                            QRegularExpression::DotMatchesEverythingOption);
    std::vector<fs::path> left;
    std::error_code ignored;
    for (fs::directory_iterator entry(folder, ignored), end; !ignored && entry != end; entry.increment(ignored)) {
        if (pattern.match(pathText(entry->path().filename())).hasMatch()) {
            left.push_back(entry->path());
        }
    }
    for (const fs::path& path : left) {
        ::unlink(path.c_str()); // a folder of such a name is not ours, and stays
    }
}

std::expected<void, FileError> flushFile(const fs::path& path) {
    return flush(path, O_RDONLY | O_NONBLOCK);
}

std::expected<void, FileError> flushFolder(const fs::path& folder) {
    return flush(folder, O_RDONLY | O_DIRECTORY);
}

std::expected<void, FileError> makeFolders(const fs::path& folder) {
    fs::path made;
    for (const fs::path& part : folder) {
        made /= part;
        if (::mkdir(made.c_str(), folderMode) == 0) {
            std::ignore = flushFolder(folderOf(made)); // it is there, whether or not it would outlive a power cut
        } else if (errno != EEXIST) {
            // A parent may be there and yet refuse: on read-only systems mkdir says EROFS for folders that exist.
            const int code = errno;
            struct stat status{};
            if (::stat(made.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
                return failure(code);
            }
        }
    }
    struct stat status{};
    if (::stat(folder.c_str(), &status) != 0) {
        return failure(errno);
    }
    if (!S_ISDIR(status.st_mode)) {
        return failure(EEXIST);
    }
    return {};
}

bool nameTaken(const fs::path& path) {
    struct stat status{};
    return ::lstat(path.c_str(), &status) == 0;
}

std::expected<void, FileError> moveItem(const fs::path& from, const fs::path& to) {
    // A plain rename would silently replace an empty folder or a file.
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) != 0) {
        if (errno != EINVAL && errno != ENOSYS) {
            return failure(errno);
        }
        // Some file systems don't know the flag; looking first leaves a gap of no consequence with one user.
        if (nameTaken(to)) {
            return failure(EEXIST);
        }
        if (::rename(from.c_str(), to.c_str()) != 0) {
            return failure(errno);
        }
    }
    std::ignore = flushFolder(folderOf(to));
    if (folderOf(from) != folderOf(to)) {
        std::ignore = flushFolder(folderOf(from));
    }
    return {};
}

QString pathText(const fs::path& path) {
    return QString::fromUtf8(path.native());
}

fs::path pathFrom(const QString& text) {
    return fs::path(text.toUtf8().toStdString());
}

QString nameText(const fs::path& path) {
    const fs::path plain = path.has_filename() ? path : path.parent_path();
    return QString::fromUtf8(plain.filename().native());
}

fs::path standardized(const fs::path& path) {
    std::error_code ignored;
    fs::path result = (path.is_absolute() ? path : fs::current_path(ignored) / path).lexically_normal();
    if (!result.has_filename() && result.has_relative_path()) {
        result = result.parent_path(); // a trailing slash names the same folder
    }
    return result;
}

QString standardizedText(const fs::path& path) {
    return pathText(standardized(path));
}

} // namespace base
