// What the process as a whole must settle before it opens a file or starts a thread.
#pragma once

#include <sys/types.h>

namespace base {

/// Call it once, first thing in main():
///   - whatever is written, also by libraries and tools, is for this user alone;
///   - a reader that goes away, of our output or at the end of a pipe, and a file that may not grow any more are errors
///     of the write and not the end of the program;
///   - standard streams that came closed lead nowhere: the next file opened would get their number otherwise, and
///     what is printed would end up in a recording;
///   - a time zone that is named in a way Qt does not understand, as by the path of its file, gets a name that it does:
///     without a zone there are no dates, and dates are the names of recordings.
void prepareProcess();

/// The file mode mask that this process was started with, for programs that are not ours: what the user saves in them
/// must not become private for that.
[[nodiscard]] mode_t inheritedFileMask() noexcept;

} // namespace base
