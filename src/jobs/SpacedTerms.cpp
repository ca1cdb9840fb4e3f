#include "jobs/SpacedTerms_p.h"

#include <cstring>
#include <optional>
#include <utility>

namespace jobs {

using SearchTerms::Key;
using SearchTerms::Meeting;

namespace {

bool contains(std::string_view text, std::string_view part) {
    return ::memmem(text.data(), text.size(), part.data(), part.size()) != nullptr;
}

template<typename Visit>
void forEachPiece(std::string_view word, std::size_t length, Visit visit) {
    for (std::size_t at = 0; at + length <= word.size(); ++at) {
        visit(SearchTerms::keyOf(word.substr(at, length)));
    }
}

MeetingBits bitsOf(std::span<const Meeting> meetings, std::size_t size) {
    MeetingBits bits(size);
    for (const Meeting meeting : meetings) {
        bits.add(meeting);
    }
    return bits;
}

} // namespace

SpacedTerms::SpacedTerms(Builder words, std::size_t meetings) : m_size(meetings) {
    auto table = std::move(words).build(
        [](std::string_view left, std::uint32_t leftCount, std::string_view right, std::uint32_t rightCount) {
            return leftCount != rightCount ? leftCount > rightCount : left < right;
        });
    m_meetings = std::move(table.postings);
    m_ends.reserve(table.keys.size());
    for (const std::string_view each : table.keys) {
        m_text += each;
        m_ends.push_back(static_cast<std::uint32_t>(m_text.size()));
    }
    m_text.shrink_to_fit();
    for (std::size_t length = 1; length <= pieceBytes; ++length) {
        m_pieces[length - 1] = piecesOf(length);
        if (length < pieceBytes) {
            m_pieces[length - 1].words.postings = {}; // only the longest pieces are asked for their words
        }
    }
}

std::string_view SpacedTerms::word(std::size_t number) const {
    const std::size_t from = number == 0 ? 0 : m_ends[number - 1];
    return std::string_view(m_text).substr(from, m_ends[number] - from);
}

SpacedTerms::Pieces SpacedTerms::piecesOf(std::size_t length) const {
    TableBuilder<Key, std::uint32_t> builder;
    for (std::uint32_t number = 0; number < m_ends.size(); ++number) {
        forEachPiece(word(number), length, [&](Key piece) { builder.add(piece, number); });
    }
    Pieces pieces{std::move(builder).build(), {}};
    pieces.meetings.assign(pieces.words.keys.size(), MeetingBits(m_size));
    // Word by word: the meetings of a word are made into bits once, and then are quickly added to each of its pieces.
    for (std::uint32_t number = 0; number < m_ends.size(); ++number) {
        const auto meetings = m_meetings.at(number);
        const bool isFrequent = meetings.size() * 16 > m_size;
        const MeetingBits bits = isFrequent ? bitsOf(meetings, m_size) : MeetingBits();
        forEachPiece(word(number), length, [&](Key piece) {
            MeetingBits& of = pieces.meetings[pieces.words.rankOf(piece).value()];
            if (isFrequent) {
                of |= bits;
                return;
            }
            for (const Meeting meeting : meetings) {
                of.add(meeting);
            }
        });
    }
    return pieces;
}

void SpacedTerms::narrow(MeetingBits& found, std::string_view part) const {
    if (part.size() > pieceBytes) {
        found &= meetingsWith(part, found);
        return;
    }
    const Pieces& pieces = m_pieces[part.size() - 1];
    const auto rank = pieces.words.rankOf(SearchTerms::keyOf(part));
    found &= rank ? pieces.meetings[*rank] : MeetingBits(m_size);
}

/// Those of the piece that the fewest words have.
std::span<const std::uint32_t> SpacedTerms::wordsThatMayHave(std::string_view part) const {
    const auto& words = m_pieces[pieceBytes - 1].words;
    std::optional<std::span<const std::uint32_t>> fewest;
    bool isMissing = false;
    forEachPiece(part, pieceBytes, [&](Key piece) {
        const auto rank = words.rankOf(piece);
        isMissing = isMissing || !rank;
        if (rank && (!fewest || words.postings.at(*rank).size() < fewest->size())) {
            fewest = words.postings.at(*rank);
        }
    });
    return isMissing ? std::span<const std::uint32_t>() : fewest.value_or(std::span<const std::uint32_t>());
}

/// Ends as soon as all that are asked about are found; the words of the most meetings come first.
MeetingBits SpacedTerms::meetingsWith(std::string_view part, const MeetingBits& askedAbout) const {
    MeetingBits with(m_size);
    std::size_t left = askedAbout.count();
    for (const std::uint32_t number : wordsThatMayHave(part)) {
        if (left == 0) {
            break;
        }
        if (!contains(word(number), part)) {
            continue;
        }
        for (const Meeting meeting : m_meetings.at(number)) {
            left -= askedAbout.has(meeting) && !with.has(meeting) ? 1 : 0;
            with.add(meeting);
        }
    }
    return with;
}

std::size_t SpacedTerms::bytes() const {
    std::size_t sum = m_text.capacity() + bytesOf(m_ends) + m_meetings.bytes();
    for (const Pieces& pieces : m_pieces) {
        sum += pieces.words.bytes() + pieces.meetings.size() * (sizeof(MeetingBits) + (m_size + 63) / 64 * 8);
    }
    return sum;
}

} // namespace jobs
