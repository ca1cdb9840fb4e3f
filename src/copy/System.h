// What this account says about its user. The one place of this folder that asks the operating system.
//   Threads  any
//   Changes  a new full name counts at the next call; languages are those with which the program was started
#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringList>

namespace copy::System {

/// The languages that the user wants to read, best first, like "zh-TW"; empty when the locale names none.
[[nodiscard]] QStringList preferredLanguages();

/// The user's full name from the account data base; empty if it holds none.
[[nodiscard]] QString fullUserName();
/// The full name within the comment field of the account data base: what stands before the first comma, with each
/// "&" standing for the capitalised login name.
[[nodiscard]] QString fullNameFromComment(const QString& comment, const QString& login);

} // namespace copy::System
