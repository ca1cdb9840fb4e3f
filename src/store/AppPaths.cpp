#include "store/AppPaths.h"

#include "base/Environment.h"

#include <QFile>

#include <cerrno>
#include <cstdint>
#include <string>
#include <system_error>

namespace store::AppPaths {

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

constexpr const char* homeVariable = "TARVEX_HOME";
constexpr const char* applicationFolder = "Tarvex";
const QString suiteName = u"com.orvane.tarvex"_s;

/// A folder of the XDG base directories; a relative path in its variable does not count.
fs::path userFolder(const char* variable, const char* belowHome) {
    if (const auto folder = base::Environment::path(variable); folder && folder->is_absolute()) {
        return *folder;
    }
    return base::Environment::homeFolder() / belowHome;
}

std::uint64_t fnv1a(const std::string& bytes) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char byte : bytes) {
        hash ^= static_cast<unsigned char>(byte);
        hash *= 0x100000001B3;
    }
    return hash;
}

std::expected<void, base::FileError> copyAndRemove(const fs::path& item, const fs::path& target) {
    constexpr auto how = fs::copy_options::recursive | fs::copy_options::copy_symlinks;
    std::error_code error;
    fs::copy(item, target, how, error);
    if (error) {
        std::error_code ignored;
        fs::remove_all(target, ignored);
        return std::unexpected(base::fileError(error.value()));
    }
    fs::remove_all(item, error);
    if (error) {
        return std::unexpected(base::fileError(error.value()));
    }
    return {};
}

} // namespace

bool testMode() {
    return base::Environment::testMode();
}

fs::path root() {
    if (const auto home = base::Environment::path(homeVariable)) {
        std::error_code ignored;
        const fs::path absolute = fs::absolute(*home, ignored);
        return ignored ? *home : absolute;
    }
    return userFolder("XDG_DATA_HOME", ".local/share") / applicationFolder;
}

fs::path meetings() {
    return root() / "Meetings";
}

fs::path people() {
    return root() / "people.json";
}

fs::path types() {
    return root() / "types.json";
}

fs::path work() {
    return root() / "tmp";
}

fs::path testTrash() {
    return root() / "Trash";
}

bool skipOnboarding() {
    return testMode() && !base::Environment::testFlag("TARVEX_SHOW_ONBOARDING");
}

bool showWindows() {
    return !testMode() || base::Environment::testFlag("TARVEX_SHOW_WINDOWS");
}

double testNumber(const char* name, double normal) {
    return base::Environment::testNumber(name, normal);
}

QString testSuiteName(const fs::path& home) {
    const std::string path = home.empty() ? std::string() : base::standardized(home).native();
    return suiteName + u".test." + QString::number(fnv1a(path), 16);
}

fs::path defaultsFile() {
    if (const auto home = base::Environment::path(homeVariable)) {
        return root() / base::pathFrom(testSuiteName(*home) + u".json");
    }
    return userFolder("XDG_CONFIG_HOME", ".config") / applicationFolder / base::pathFrom(suiteName + u".json");
}

base::PreferenceStore defaults() {
    return base::PreferenceStore(defaultsFile());
}

std::expected<void, base::FileError> prepare() {
    return base::makeFolders(meetings());
}

void clearWork() {
    const fs::path folder = work();
    std::error_code ignored;
    // A link is removed as such: what it points to is not ours to empty.
    if (fs::is_directory(fs::symlink_status(folder, ignored))) {
        for (fs::directory_iterator entry(folder, ignored), end; !ignored && entry != end; entry.increment(ignored)) {
            std::error_code left;
            fs::remove_all(entry->path(), left);
        }
    } else {
        fs::remove(folder, ignored);
    }
    std::ignore = base::makeFolders(folder);
}

std::expected<void, base::FileError> trashItem(const fs::path& item, const QDateTime& now) {
    if (testMode()) {
        return moveToFolder(item, testTrash(), now);
    }
    const QString text = base::pathText(item);
    if (base::pathFrom(text) != item) {
        return std::unexpected(base::fileError(EILSEQ)); // the trash can't hold a name that is no text
    }
    QFile file(text);
    if (!file.moveToTrash()) {
        return std::unexpected(base::FileError{base::FileError::Kind::Other, 0, file.errorString()});
    }
    return {};
}

std::expected<void, base::FileError> moveToFolder(const fs::path& item, const fs::path& folder, const QDateTime& now,
                                                  const QTimeZone& timeZone) {
    if (auto made = base::makeFolders(folder); !made) {
        return made;
    }
    const std::string stamp = now.toTimeZone(timeZone).toString(u"yyyyMMdd-HHmmss").toStdString();
    const fs::path plain = item.has_filename() ? item : item.parent_path();
    const std::string name = plain.filename().native();
    fs::path target = folder / (stamp + "_" + name);
    for (int number = 2; base::nameTaken(target); ++number) {
        target = folder / (stamp + "_" + std::to_string(number) + "_" + name);
    }
    auto moved = base::moveItem(plain, target);
    if (!moved && moved.error().code == EXDEV) {
        return copyAndRemove(plain, target);
    }
    return moved;
}

} // namespace store::AppPaths
