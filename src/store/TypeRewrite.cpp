#include "store/TypeRewrite.h"

#include "store/MeetingLibrary.h"

#include <vector>

namespace store::TypeRewrite {

std::vector<MeetingRecord> meetings(const TypeRename& rename) {
    auto records = MeetingLibrary::load(rename.meetings);
    std::erase_if(records, [&rename](const MeetingRecord& record) { return record.type != rename.from; });
    return records;
}

void rewrite(const MeetingRecord& meeting, const TypeRename& rename, TypeChange& change) {
    const auto updated = MeetingLibrary::update(meeting, {.type = rename.to.value_or(QString())});
    ++(updated ? change.changed : change.failed);
}

TypeChange run(const TypeRename& rename) {
    TypeChange change;
    for (const auto& meeting : meetings(rename)) {
        rewrite(meeting, rename, change);
    }
    return change;
}

} // namespace store::TypeRewrite
