// The walk over the meetings after a type was renamed or removed: each meeting carries its type by name.
//   Order    newest first
//   Failures a meeting whose meta.json can't be written keeps the old name, is counted, and the walk goes on; so does
//            one that a kill in the middle leaves behind. The program bears a name that is in no list
//   Threads  any; no state. TypeRewriter runs the same walk without stopping the window
#pragma once

#include "store/MeetingRecord.h"
#include "store/TypeRename.h"

#include <vector>

namespace store::TypeRewrite {

/// The meetings that carry exactly the old name. Reads every meta.json.
[[nodiscard]] std::vector<MeetingRecord> meetings(const TypeRename& rename);
/// Gives one of them the new name and counts it.
void rewrite(const MeetingRecord& meeting, const TypeRename& rename, TypeChange& change);
/// The whole walk, on the calling thread.
[[nodiscard]] TypeChange run(const TypeRename& rename);

} // namespace store::TypeRewrite
