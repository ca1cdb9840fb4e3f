// Reading what AI work has left in a meeting's folder.
//   States   None: missing or not readable. Broken: read, but not understood. Ready: the record
//   Threads  any
#pragma once

#include "ai/MeetingSummary.h"
#include "ai/Transcript.h"
#include "base/Files.h"
#include "store/ContentState.h"
#include "store/MeetingRecord.h"

#include <concepts>
#include <cstdint>
#include <filesystem>
#include <optional>

namespace ai::MeetingContent {

template<typename Record>
concept StoredRecord = requires(QByteArrayView bytes) {
    { Record::parse(bytes) } -> std::same_as<std::optional<Record>>;
    { Record::sizeLimit } -> std::convertible_to<std::int64_t>;
};

/// Reads `file` as a record. One that is too large to be such a record is not understood.
template<StoredRecord Record>
[[nodiscard]] store::ContentState<Record> read(const std::filesystem::path& file) {
    using State = store::ContentState<Record>;
    const auto bytes = base::readFile(file, Record::sizeLimit);
    if (!bytes) {
        return bytes.error().kind == base::FileError::Kind::TooLarge ? State::broken() : State::none();
    }
    auto record = Record::parse(*bytes);
    return record ? State::ready(std::move(*record)) : State::broken();
}

[[nodiscard]] inline store::ContentState<Transcript> transcript(const store::MeetingRecord& record) {
    return read<Transcript>(record.transcriptURL());
}

[[nodiscard]] inline store::ContentState<MeetingSummary> summary(const store::MeetingRecord& record) {
    return read<MeetingSummary>(record.summaryURL());
}

} // namespace ai::MeetingContent
