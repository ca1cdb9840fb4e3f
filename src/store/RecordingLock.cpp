#include "store/RecordingLock.h"

#include "base/Text.h"
#include "store/AppPaths.h"

#include <QByteArray>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <system_error>
#include <unistd.h>

namespace store::RecordingLock {

namespace fs = std::filesystem;

namespace {

/// Two lines, of which the longest possible path is one.
constexpr std::int64_t lockLimit = 64LL * 1024;

std::optional<QString> lockText(const fs::path& lock) {
    const auto text = base::readText(lock, lockLimit);
    return text ? std::optional(*text) : std::nullopt;
}

void removeFile(const fs::path& lock) {
    std::error_code ignored;
    fs::remove(lock, ignored);
}

} // namespace

fs::path url() {
    return AppPaths::root() / "recording.lock";
}

ProcessID ownProcess() {
    return ::getpid();
}

std::optional<ProcessID> parse(QStringView text) {
    const qsizetype end = text.indexOf(u'\n');
    QByteArray number = base::Text::trimmed(end < 0 ? text : text.first(end)).toUtf8();
    if (number.startsWith('+') && !number.startsWith("+-")) {
        number.remove(0, 1);
    }
    ProcessID process = 0;
    const char* const last = number.constData() + number.size();
    const auto [stop, error] = std::from_chars(number.constData(), last, process);
    return error == std::errc{} && stop == last ? std::optional(process) : std::nullopt;
}

std::optional<QString> folderPath(QStringView text) {
    const qsizetype first = text.indexOf(u'\n');
    if (first < 0) {
        return std::nullopt;
    }
    const QStringView rest = text.sliced(first + 1);
    const qsizetype end = rest.indexOf(u'\n');
    const QString path = base::Text::trimmed(end < 0 ? rest : rest.first(end));
    return path.isEmpty() ? std::nullopt : std::optional(path);
}

bool processAlive(ProcessID process) {
    // To kill, an id below 1 means a whole group of processes.
    return process > 0 && (::kill(process, 0) == 0 || errno == EPERM);
}

bool isLive(const fs::path& folder, const std::optional<QString>& lockText, const IsAlive& isAlive) {
    if (!lockText) {
        return false;
    }
    const auto process = parse(*lockText);
    if (!process || !isAlive(*process)) {
        return false;
    }
    const auto locked = folderPath(*lockText);
    // As texts: a lock can hold no bytes that are no text, and both sides lose those alike.
    return locked && base::standardizedText(base::pathFrom(*locked)) == base::standardizedText(folder);
}

bool heldByOther(const std::optional<QString>& lockText, ProcessID own, const IsAlive& isAlive) {
    const auto process = lockText ? parse(*lockText) : std::nullopt;
    return process && *process != own && isAlive(*process);
}

bool isLive(const fs::path& folder) {
    return isLive(folder, lockText(url()), processAlive);
}

bool recordingElsewhere() {
    return heldByOther(lockText(url()), ownProcess(), processAlive);
}

std::expected<void, base::FileError> write(const std::optional<fs::path>& folder, ProcessID process,
                                           const fs::path& lock) {
    QByteArray text = QByteArray::number(process) + '\n';
    if (folder) {
        text += base::standardizedText(*folder).toUtf8() + '\n';
    }
    return base::replaceFile(lock, text);
}

void remove(ProcessID own, const fs::path& lock) {
    if (const auto text = lockText(lock); text && parse(*text) == own) {
        removeFile(lock);
    }
}

void clearStale() {
    const fs::path lock = url();
    const auto text = lockText(lock);
    if (text && !heldByOther(text, ownProcess(), processAlive)) {
        removeFile(lock);
    }
}

} // namespace store::RecordingLock
