// All that a search looks through of one meeting, in the form in which words are looked for, as UTF-8: a third of the
// room of a SearchText, and made several times as fast. matches() gives what MeetingContent::matches gives.
//   Threads  any; a plain value
#pragma once

#include "store/MeetingRecord.h"

#include <QStringView>

#include <cstddef>
#include <string>
#include <vector>

namespace jobs {

struct FoldedMeeting {
    std::string text;           ///< MeetingContent::ownText and the haystack, folded
    std::size_t ownLength = 0;  ///< bytes of `text` that are the record's own
    bool hasTranscript = false; ///< a segment with text was read
    bool hasSummary = false;    ///< a summary, or the advice on a practice take, was read
    bool operator==(const FoldedMeeting&) const = default;

    /// Reads the files of the meeting. What is missing or not understood is empty.
    [[nodiscard]] static FoldedMeeting read(const store::MeetingRecord& record);
    /// Of a record alone, without its files.
    [[nodiscard]] static FoldedMeeting of(const store::MeetingRecord& record);
    /// The same files beside a record that was edited.
    [[nodiscard]] FoldedMeeting withOwnTextOf(const store::MeetingRecord& record) const;

    /// The words of a query in the same form. A word of which nothing is left is an empty one, which matches nothing.
    [[nodiscard]] static std::vector<std::string> words(QStringView query);
    [[nodiscard]] bool matches(const std::vector<std::string>& words) const;
};

} // namespace jobs
