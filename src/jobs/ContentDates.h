// When the files that a search looks through were last written: what tells whether their texts are still the same.
//   Links    the date is that of the file a link leads to
//   Threads  any; a plain value
#pragma once

#include "store/MeetingRecord.h"

#include <cstdint>
#include <optional>

namespace jobs {

struct ContentDates {
    using Nanoseconds = std::int64_t; ///< since 1970

    std::optional<Nanoseconds> notes; ///< nullopt: the file is not there
    std::optional<Nanoseconds> aiOutput;
    std::optional<Nanoseconds> transcript;
    bool operator==(const ContentDates&) const = default;

    /// Asks the disk.
    [[nodiscard]] static ContentDates of(const store::MeetingRecord& record);
};

} // namespace jobs
