// Which meetings have a word, or a part of one, of a script that parts words by blanks.
//   Exact    for a part of any length
//   Threads  building: any. Afterwards any number at once
#pragma once

#include "jobs/MeetingBits.h"
#include "jobs/Postings_p.h"
#include "jobs/SearchTerms_p.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace jobs {

class SpacedTerms {
public:
    using Builder = TableBuilder<std::string_view, SearchTerms::Meeting>;

    /// The builder's keys may end afterwards.
    SpacedTerms(Builder words, std::size_t meetings);

    /// Leaves those of `found` that have a word with this part, which is not empty.
    void narrow(MeetingBits& found, std::string_view part) const;

    [[nodiscard]] std::size_t bytes() const;

private:
    /// Parts of up to so many bytes are looked up as they stand, and longer ones by their pieces of this length.
    static constexpr std::size_t pieceBytes = 3;

    /// All pieces of one length.
    struct Pieces {
        Table<SearchTerms::Key, std::uint32_t> words; ///< numbers of the words that have the piece
        std::vector<MeetingBits> meetings;            ///< that have such a word; by rank of the piece
    };

    [[nodiscard]] Pieces piecesOf(std::size_t length) const;
    [[nodiscard]] std::string_view word(std::size_t number) const;
    [[nodiscard]] std::span<const std::uint32_t> wordsThatMayHave(std::string_view part) const;
    [[nodiscard]] MeetingBits meetingsWith(std::string_view part, const MeetingBits& askedAbout) const;

    std::size_t m_size; ///< meetings
    std::string m_text; ///< all different words one after the other, those of the most meetings first
    std::vector<std::uint32_t> m_ends;
    Postings<SearchTerms::Meeting> m_meetings; ///< by number of the word
    std::array<Pieces, pieceBytes> m_pieces;   ///< of one byte, two, three
};

} // namespace jobs
