// Up to some thousand meetings with an index of their texts, which never change.
//   Index    a word of a script with blanks and any part of it is answered without a look at the texts, and so is a
//            sequence of up to two characters of other scripts, and a longer one that is in many meetings. Of any other
//            word the index leaves few meetings, whose texts are then searched
//   Exact    gives what FoldedMeeting::matches gives
//   Cost     building: linear in the text, a few times as long as reading it. Searching: see bench/search.py
//   Threads  building: any. Afterwards any number at once
#pragma once

#include "jobs/FoldedMeeting.h"
#include "jobs/MeetingBits.h"

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace jobs {

class SearchBlock {
public:
    using Text = std::shared_ptr<const FoldedMeeting>;

    static constexpr std::size_t mostMeetings = 1024;
    /// Bytes of text, unless a single meeting has more.
    static constexpr std::size_t mostBytes = 256U << 20U;

    /// At most `mostMeetings` texts of together at most `mostBytes`, or a single one.
    explicit SearchBlock(std::vector<Text> texts);
    ~SearchBlock();
    SearchBlock(const SearchBlock&) = delete;
    SearchBlock& operator=(const SearchBlock&) = delete;

    [[nodiscard]] const std::vector<Text>& texts() const { return m_texts; }

    /// Leaves those of `found` whose text has every word. The words are folded; an empty one is in no text.
    void narrow(MeetingBits& found, const std::vector<std::string>& words) const;

    /// Lets go of a text that is not needed any more; it must not be asked for again. Not beside a search.
    void forget(std::size_t index) { m_texts[index].reset(); }

    /// What the index takes beside the texts.
    [[nodiscard]] std::size_t indexBytes() const;

private:
    struct Index;

    std::vector<Text> m_texts;
    std::unique_ptr<const Index> m_index;
};

} // namespace jobs
