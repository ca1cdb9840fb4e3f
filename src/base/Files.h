// Reading and replacing whole files without surprises.
//   Threads  any; no state
//   Paths    std::filesystem::path, so that a name with any bytes stays what it is; text for people comes from pathText
//   Errors   the operating system's own text for the user
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <expected>
#include <filesystem>
#include <string>

namespace base {

namespace fs = std::filesystem;

struct FileError {
    enum class Kind { Missing, NotRegular, TooLarge, Other };
    Kind kind = Kind::Other;
    int code = 0; ///< errno, 0 where none applies
    QString text; ///< what the system says about it
    bool operator==(const FileError&) const = default;
};

/// What a reader takes in at most unless it says otherwise. A larger file is an error, never an exhausted memory.
inline constexpr std::int64_t readLimit = 64LL * 1024 * 1024;

/// The whole of a regular file (links are followed). Never blocks on a pipe or a device.
[[nodiscard]] std::expected<QByteArray, FileError> readFile(const fs::path& path, std::int64_t limit = readLimit);
/// The same for a path below an open folder, by the folder's descriptor: for many files, this is quicker.
[[nodiscard]] std::expected<QByteArray, FileError> readFileAt(int folder, const std::string& path,
                                                              std::int64_t limit = readLimit);
/// readFile as UTF-8 text: a byte-order mark is dropped; bytes that are no UTF-8 are an error of the kind Other.
[[nodiscard]] std::expected<QString, FileError> readText(const fs::path& path, std::int64_t limit = readLimit);

/// Replaces `path` by a file of mode 0600 with exactly `bytes`: after success it is on the disk under its name;
/// after a failure, a kill or a power cut the old file or the new one is there whole, never half of one.
/// Works through a temporary file of a fresh name (".NAME.PID-RANDOM.tmp") beside it, which no failure leaves behind
/// and only a kill can. A link at `path` is replaced, not followed. Flushes the file and then its folder.
[[nodiscard]] std::expected<void, FileError> replaceFile(const fs::path& path, const QByteArray& bytes);

/// Removes the temporary files that kills have left of replaceFile in a folder. Nothing may be replacing files there.
void removeTemporaries(const fs::path& folder);

/// Flushes a file's content (or a folder's entries) to the disk.
[[nodiscard]] std::expected<void, FileError> flushFile(const fs::path& path);
[[nodiscard]] std::expected<void, FileError> flushFolder(const fs::path& folder);

/// mkdir -p with mode 0700 for what it makes. What was made outlives a power cut where the disk can promise it.
[[nodiscard]] std::expected<void, FileError> makeFolders(const fs::path& folder);

/// Gives a file or folder another name within its file system; a link is moved, not followed. A name that anything has,
/// be it a dangling link, is an error (EEXIST) and stays as it is. Flushes both folders; that this fails is no error,
/// since the item has moved.
[[nodiscard]] std::expected<void, FileError> moveItem(const fs::path& from, const fs::path& to);
/// Whether anything has this name, a dangling link included.
[[nodiscard]] bool nameTaken(const fs::path& path);

/// A path as text for people, logs and files; bytes that are no UTF-8 become replacement characters.
[[nodiscard]] QString pathText(const fs::path& path);
[[nodiscard]] fs::path pathFrom(const QString& text);
/// The file name alone, as text.
[[nodiscard]] QString nameText(const fs::path& path);
/// Absolute, without ".", ".." and doubled or trailing slashes; links are not resolved. The identity of a folder.
[[nodiscard]] fs::path standardized(const fs::path& path);
[[nodiscard]] QString standardizedText(const fs::path& path);

/// A FileError of an errno value.
[[nodiscard]] FileError fileError(int code);

} // namespace base
