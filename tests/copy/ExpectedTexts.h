// The wording as it was agreed, in files of its own beside the tests (tests/copy/expected), so that a slip of the pen
// in a table of the program shows.
#pragma once

#include <QString>
#include <QStringList>

namespace expected {

/// The rows of a table, each its key and its texts.
[[nodiscard]] QList<QStringList> rows(const QString& name);
/// The whole of a text file.
[[nodiscard]] QString text(const QString& name);

} // namespace expected
