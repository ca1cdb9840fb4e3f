#include "entry/SingleInstance.h"

#include "base/Files.h"
#include "base/Handle.h"
#include "base/HostClock.h"
#include "base/Text.h"

#include <QStringList>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <unistd.h>

namespace entry::SingleInstance {

namespace fs = std::filesystem;
using namespace Qt::StringLiterals;

namespace {

constexpr QStringView deletedMark = u" (deleted)";
constexpr int lockPollMilliseconds = 10;

QString trimmedLine(QStringView line) {
    return base::Text::trimmed(line);
}

std::optional<std::int32_t> parsePID(const QString& text) {
    bool isNumber = false;
    const int pid = text.toInt(&isNumber, 10);
    return isNumber ? std::optional<std::int32_t>(pid) : std::nullopt;
}

/// Holds every other claim on this root off for as long as it lives. Invalid where the file system has no such locks
/// or somebody holds one for too long: then the hard link alone decides, as it does without the wait.
base::FileDescriptor waitForTurn(const fs::path& root) {
    base::FileDescriptor folder(::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        return {};
    }
    const base::MonotonicClock clock;
    const double giveUp = clock.now() + claimWait;
    while (::flock(folder.get(), LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || clock.now() >= giveUp) {
            return {};
        }
        ::poll(nullptr, 0, lockPollMilliseconds);
    }
    return folder;
}

/// Puts the complete file under its name unless there is one. File systems without hard links get it by a rename
/// that refuses to replace; one that has neither leaves the program without a lock.
bool appear(const fs::path& temporary, const fs::path& lock) {
    if (::link(temporary.c_str(), lock.c_str()) == 0) {
        return true;
    }
    const bool noLinks = errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS || errno == EMLINK;
    return noLinks && ::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, lock.c_str(), RENAME_NOREPLACE) == 0;
}

std::optional<QString> lockText(const fs::path& lock) {
    auto read = base::readText(lock);
    return read ? std::optional(std::move(*read)) : std::nullopt;
}

std::optional<Holder> takeLock(const fs::path& temporary, const fs::path& lock, std::int32_t ownPID) {
    for (int round = 0; round < maxRounds; ++round) {
        if (appear(temporary, lock)) {
            return std::nullopt;
        }
        if (auto running = other(lockText(lock), ownPID, executablePath)) {
            return running;
        }
        std::error_code ignored;
        fs::remove(lock, ignored);
    }
    return std::nullopt;
}

} // namespace

fs::path url(const fs::path& root) {
    return root / "instance.lock";
}

QString text(const Holder& holder) {
    return QString::number(holder.pid) + u'\n' + holder.path + u'\n';
}

std::optional<Holder> parse(const std::optional<QString>& text) {
    if (!text) {
        return std::nullopt;
    }
    const auto lines = QStringView(*text).split(u'\n', Qt::KeepEmptyParts);
    if (lines.size() < 2) {
        return std::nullopt;
    }
    const auto pid = parsePID(trimmedLine(lines[0]));
    QString path = trimmedLine(lines[1]);
    if (!pid || path.isEmpty()) {
        return std::nullopt;
    }
    return Holder{*pid, std::move(path)};
}

std::optional<Holder> other(const std::optional<QString>& text, std::int32_t ownPID, const PathOfProcess& pathOf) {
    auto named = parse(text);
    if (!named || named->pid == ownPID || pathOf(named->pid) != named->path) {
        return std::nullopt;
    }
    return named;
}

std::optional<QString> executablePath(std::int32_t pid) {
    std::error_code error;
    const fs::path target = fs::read_symlink("/proc/" + std::to_string(pid) + "/exe", error);
    if (error || target.empty()) {
        return std::nullopt;
    }
    QString path = base::pathText(target);
    if (path.endsWith(deletedMark)) {
        path.chop(deletedMark.size());
    }
    return path;
}

std::optional<Holder> claim(const fs::path& root) {
    const auto ownPID = static_cast<std::int32_t>(::getpid());
    const auto ownPath = executablePath(ownPID);
    if (!ownPath) {
        return std::nullopt;
    }
    (void)base::makeFolders(root);
    const fs::path lock = url(root);
    const fs::path temporary = lock.string() + '.' + std::to_string(ownPID);
    std::optional<Holder> running;
    if (base::replaceFile(temporary, text({ownPID, *ownPath}).toUtf8())) {
        const base::FileDescriptor turn = waitForTurn(root);
        running = takeLock(temporary, lock, ownPID);
    }
    std::error_code ignored;
    fs::remove(temporary, ignored);
    return running;
}

void release(const fs::path& root) {
    const auto held = parse(lockText(url(root)));
    if (held && held->pid == static_cast<std::int32_t>(::getpid())) {
        std::error_code ignored;
        fs::remove(url(root), ignored);
    }
}

} // namespace entry::SingleInstance
