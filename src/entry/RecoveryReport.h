// What is printed about the healing of interrupted recordings.
//   Threads  any; no state
#pragma once

#include "store/Recovery.h"

#include <QStringList>

#include <vector>

namespace entry {

/// A line for each folder with its converted tracks, and behind it one for each failure.
[[nodiscard]] QStringList recoveryLines(const std::vector<store::Recovery::Outcome>& outcomes);

} // namespace entry
