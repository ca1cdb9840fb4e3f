// Progress lines on standard output: another process may be reading them, so each is flushed as it is printed.
//   Threads  any; a line is never torn by another
//   Errors   none; a reader that has gone away changes nothing
#pragma once

#include <QStringView>

namespace base {

/// Prints `line` and a line end, and flushes.
void printLine(QStringView line);

} // namespace base
