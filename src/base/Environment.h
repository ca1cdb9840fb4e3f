// The environment variables of this program, and test mode: the one switch for everything unusual.
// A non-empty TARVEX_HOME moves the data root, gives preferences of their own and makes the other variables count;
// outside test mode none of them has any effect.
//   Threads  any; the environment is read anew at each call and must not be changed while threads run
#pragma once

#include <QString>

#include <filesystem>
#include <optional>

namespace base::Environment {

/// Whether TARVEX_HOME is set and not empty.
[[nodiscard]] bool testMode();
/// The variable's text; nullopt if it is unset. Read in every mode.
[[nodiscard]] std::optional<QString> variable(const char* name);
/// The variable as a path, whatever its bytes are; nullopt if it is unset or empty. Read in every mode.
[[nodiscard]] std::optional<std::filesystem::path> path(const char* name);
/// The user's home folder: $HOME if it is an absolute path, else what the account says.
[[nodiscard]] std::filesystem::path homeFolder();
/// In test mode whether the variable is exactly "1"; outside it false.
[[nodiscard]] bool testFlag(const char* name);
/// In test mode the variable, when the whole of it is a finite decimal number; `normal` in every other case.
[[nodiscard]] double testNumber(const char* name, double normal);
/// In test mode the variable's text if it is not empty; outside it nullopt.
[[nodiscard]] std::optional<QString> testText(const char* name);
/// The whole of `text` read as a double, the way test numbers are read: "2", "2.5", "-1e3", "0x10"; no blanks around
/// it.
[[nodiscard]] std::optional<double> parseWholeDouble(const QString& text);

} // namespace base::Environment
