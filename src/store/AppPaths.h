// Where everything is kept, and the one switch that keeps tests away from real data.
//   Layout   one root folder: "Meetings" with a folder per meeting, people.json, types.json, recording.lock,
//            instance.lock, "tmp"; in test mode "Trash" and the preferences too
//   Modes    what is made is open to the user alone: folders 0700, files 0600
//   Threads  any; the environment is read anew at each call
#pragma once

#include "base/Files.h"
#include "base/PreferenceStore.h"

#include <QDateTime>
#include <QString>
#include <QTimeZone>

#include <expected>
#include <filesystem>

namespace store::AppPaths {

/// Whether TARVEX_HOME is set and not empty.
[[nodiscard]] bool testMode();

/// TARVEX_HOME if it is not empty, else "Tarvex" in the user's data folder ($XDG_DATA_HOME, default ~/.local/share).
/// Always absolute.
[[nodiscard]] std::filesystem::path root();
[[nodiscard]] std::filesystem::path meetings();
[[nodiscard]] std::filesystem::path people();
[[nodiscard]] std::filesystem::path types();
/// Emptied at each launch; work folders live here, never in a meeting.
[[nodiscard]] std::filesystem::path work();
[[nodiscard]] std::filesystem::path testTrash();

/// In test mode true unless TARVEX_SHOW_ONBOARDING is "1"; else false.
[[nodiscard]] bool skipOnboarding();
/// In test mode only if TARVEX_SHOW_WINDOWS is "1"; else true.
[[nodiscard]] bool showWindows();
/// In test mode the variable as a whole number text, `normal` if it is none; outside it `normal`.
[[nodiscard]] double testNumber(const char* name, double normal);

/// The preferences' name for a test folder: one name for one folder, however its path is written.
[[nodiscard]] QString testSuiteName(const std::filesystem::path& home);
/// The file of the preferences: in test mode under the test folder, named by testSuiteName, so that a test run leaves
/// the user's own alone and goes away with its folder; else "Tarvex/com.orvane.tarvex.json" in the user's
/// configuration folder ($XDG_CONFIG_HOME, default ~/.config).
[[nodiscard]] std::filesystem::path defaultsFile();
/// A store over defaultsFile(); the program makes one and hands it on.
[[nodiscard]] base::PreferenceStore defaults();

/// Makes "Meetings" with its parents.
[[nodiscard]] std::expected<void, base::FileError> prepare();
/// Removes everything in "tmp", whatever fails, and makes it again.
void clearWork();

/// Moves an item to the desktop's trash on the file system where it is; in test mode into "Trash" under the root.
[[nodiscard]] std::expected<void, base::FileError> trashItem(const std::filesystem::path& item, const QDateTime& now);
/// Moves an item into a folder as "yyyyMMdd-HHmmss_NAME", or "yyyyMMdd-HHmmss_2_NAME" and so on where that is taken.
/// Across file systems it is copied first and removed when the copy is complete.
[[nodiscard]] std::expected<void, base::FileError>
moveToFolder(const std::filesystem::path& item, const std::filesystem::path& folder, const QDateTime& now,
             const QTimeZone& timeZone = QTimeZone::systemTimeZone());

} // namespace store::AppPaths
