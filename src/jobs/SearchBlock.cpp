#include "jobs/SearchBlock.h"

#include "jobs/Postings_p.h"
#include "jobs/SearchTerms_p.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <utility>

namespace jobs {

namespace {

using Meeting = std::uint16_t;
using Key = std::uint64_t;

static_assert(SearchBlock::mostMeetings - 1 <= std::numeric_limits<Meeting>::max());

bool contains(std::string_view text, std::string_view word) {
    return ::memmem(text.data(), text.size(), word.data(), word.size()) != nullptr;
}

std::optional<std::size_t> placeOf(const std::vector<Key>& sorted, Key key) {
    const auto found = std::ranges::lower_bound(sorted, key);
    return found != sorted.end() && *found == key ? std::optional<std::size_t>(found - sorted.begin()) : std::nullopt;
}

MeetingBits bitsOf(std::span<const Meeting> meetings, std::size_t size) {
    MeetingBits bits(size);
    for (const Meeting meeting : meetings) {
        bits.add(meeting);
    }
    return bits;
}

/// Keys in ascending order, whatever their lists.
constexpr auto byKey = [](Key left, std::uint32_t, Key right, std::uint32_t) { return left < right; };

template<typename Value>
std::size_t bytesOf(const std::vector<Value>& values) {
    return values.capacity() * sizeof(Value);
}

// --- Scripts with blanks

/// The different words of the texts, those of the most meetings first.
class WordList {
public:
    using Builder = PostingsBuilder<std::string_view, Meeting>;

    explicit WordList(Builder builder) {
        auto built = std::move(builder).build(
            [](std::string_view left, std::uint32_t leftCount, std::string_view right, std::uint32_t rightCount) {
                return leftCount != rightCount ? leftCount > rightCount : left < right;
            });
        m_meetings = std::move(built.postings);
        m_ends.reserve(built.keys.size());
        std::size_t size = 0;
        for (const std::string_view word : built.keys) {
            size += word.size();
        }
        m_text.reserve(size);
        for (const std::string_view word : built.keys) {
            m_text += word;
            m_ends.push_back(m_text.size());
        }
    }

    [[nodiscard]] std::size_t size() const { return m_ends.size(); }

    [[nodiscard]] std::string_view word(std::size_t index) const {
        const std::size_t from = index == 0 ? 0 : m_ends[index - 1];
        return std::string_view(m_text).substr(from, m_ends[index] - from);
    }

    [[nodiscard]] std::span<const Meeting> meetings(std::size_t index) const { return m_meetings.at(index); }

    [[nodiscard]] std::size_t bytes() const { return m_text.capacity() + bytesOf(m_ends) + m_meetings.bytes(); }

private:
    std::string m_text;
    std::vector<std::size_t> m_ends;
    Postings<Meeting> m_meetings;
};

/// Pieces of one to three bytes and the meetings that have a word with them.
class PieceTable {
public:
    using Builder = PostingsBuilder<Key, std::uint32_t>;

    PieceTable(const WordList& words, std::size_t length, std::size_t meetings) : m_size(meetings) {
        Builder builder;
        for (std::uint32_t word = 0; word < words.size(); ++word) {
            SearchTerms::forEachPiece(words.word(word), length, [&](Key piece) { builder.add(piece, word); });
        }
        auto built = std::move(builder).build(byKey);
        m_pieces = std::move(built.keys);
        m_words = std::move(built.postings);
        m_meetings.assign(m_pieces.size(), MeetingBits(meetings));
        for (std::size_t piece = 0; piece < m_pieces.size(); ++piece) {
            for (const std::uint32_t word : m_words.at(piece)) {
                for (const Meeting meeting : words.meetings(word)) {
                    m_meetings[piece].add(meeting);
                }
            }
        }
    }

    void forgetWords() { m_words = {}; }

    /// nullptr: none.
    [[nodiscard]] const MeetingBits* meetings(Key piece) const {
        const auto place = placeOf(m_pieces, piece);
        return place ? &m_meetings[*place] : nullptr;
    }

    /// The words with all pieces of `part` are among these.
    [[nodiscard]] std::span<const std::uint32_t> wordsWith(std::string_view part) const {
        std::optional<std::span<const std::uint32_t>> fewest;
        bool isMissing = false;
        SearchTerms::forEachPiece(part, SearchTerms::pieceBytes, [&](Key piece) {
            const auto place = placeOf(m_pieces, piece);
            isMissing = isMissing || !place;
            if (place && (!fewest || m_words.at(*place).size() < fewest->size())) {
                fewest = m_words.at(*place);
            }
        });
        return isMissing || !fewest ? std::span<const std::uint32_t>() : *fewest;
    }

    [[nodiscard]] std::size_t bytes() const {
        return bytesOf(m_pieces) + m_words.bytes() + m_meetings.size() * (sizeof(MeetingBits) + (m_size + 63) / 64 * 8);
    }

private:
    std::size_t m_size;
    std::vector<Key> m_pieces;
    Postings<std::uint32_t> m_words;
    std::vector<MeetingBits> m_meetings;
};

// --- Scripts without blanks

class DenseTerms {
public:
    using Builder = PostingsBuilder<Key, Meeting>;

    explicit DenseTerms(Builder builder) {
        auto built = std::move(builder).build(byKey);
        m_terms = std::move(built.keys);
        m_meetings = std::move(built.postings);
    }

    /// nullopt: none.
    [[nodiscard]] std::optional<std::span<const Meeting>> meetings(Key term) const {
        const auto place = placeOf(m_terms, term);
        return place ? std::optional(m_meetings.at(*place)) : std::nullopt;
    }

    [[nodiscard]] std::size_t bytes() const { return bytesOf(m_terms) + m_meetings.bytes(); }

private:
    std::vector<Key> m_terms;
    Postings<Meeting> m_meetings;
};

struct Builders {
    WordList::Builder words;
    DenseTerms::Builder dense;
};

Builders termsOf(const std::vector<SearchBlock::Text>& texts) {
    Builders builders;
    for (std::size_t index = 0; index < texts.size(); ++index) {
        const auto meeting = static_cast<Meeting>(index);
        SearchTerms::forEachRun(texts[index]->text, [&](SearchTerms::Kind kind, std::string_view run) {
            if (kind == SearchTerms::Kind::Spaced) {
                builders.words.add(run, meeting);
            } else if (kind == SearchTerms::Kind::Dense) {
                SearchTerms::forEachDenseTerm(run, [&](Key term) { builders.dense.add(term, meeting); });
            }
        });
    }
    return builders;
}

} // namespace

// --- The index of a block

struct SearchBlock::Index {
    explicit Index(Builders builders, std::size_t meetings)
        : size(meetings)
        , words(std::move(builders.words))
        , single(words, 1, meetings)
        , pairs(words, 2, meetings)
        , pieces(words, SearchTerms::pieceBytes, meetings)
        , dense(std::move(builders.dense)) {
        single.forgetWords();
        pairs.forgetWords();
    }

    /// Whether what is left of `found` has the word for sure. Takes away only what does not have it.
    bool narrow(MeetingBits& found, std::string_view word) const {
        std::size_t runs = 0;
        bool isTerm = true;
        SearchTerms::forEachRun(word, [&](SearchTerms::Kind kind, std::string_view run) {
            ++runs;
            if (kind == SearchTerms::Kind::Spaced) {
                narrowBySpaced(found, run);
            } else {
                isTerm = kind == SearchTerms::Kind::Dense && narrowByDense(found, run);
            }
        });
        return runs == 1 && isTerm;
    }

    [[nodiscard]] std::size_t bytes() const {
        return words.bytes() + single.bytes() + pairs.bytes() + pieces.bytes() + dense.bytes();
    }

    std::size_t size;
    WordList words;
    PieceTable single;
    PieceTable pairs;
    PieceTable pieces;
    DenseTerms dense;

private:
    void narrowBySpaced(MeetingBits& found, std::string_view part) const {
        if (part.size() > SearchTerms::pieceBytes) {
            found &= meetingsOfWordsWith(part, found);
            return;
        }
        const PieceTable& table = part.size() == 1 ? single : part.size() == 2 ? pairs : pieces;
        const MeetingBits* meetings = table.meetings(SearchTerms::pieceKey(part));
        found &= meetings != nullptr ? *meetings : MeetingBits(size);
    }

    /// Ends as soon as all that are asked about are found; the words of the most meetings come first.
    [[nodiscard]] MeetingBits meetingsOfWordsWith(std::string_view part, const MeetingBits& askedAbout) const {
        MeetingBits with(size);
        std::size_t left = askedAbout.count();
        for (const std::uint32_t word : pieces.wordsWith(part)) {
            if (left == 0) {
                break;
            }
            if (!contains(words.word(word), part)) {
                continue;
            }
            for (const Meeting meeting : words.meetings(word)) {
                left -= askedAbout.has(meeting) && !with.has(meeting) ? 1 : 0;
                with.add(meeting);
            }
        }
        return with;
    }

    /// Whether the run is a term itself.
    bool narrowByDense(MeetingBits& found, std::string_view run) const {
        const std::size_t first = SearchTerms::lengthOf(run.front());
        const bool isSingle = run.size() <= first;
        std::size_t terms = 0;
        SearchTerms::forEachDenseTerm(run, [&](Key term) {
            ++terms;
            if (isSingle || term > std::numeric_limits<std::uint32_t>::max()) { // two say more than each by itself
                const auto meetings = dense.meetings(term);
                found &= meetings ? bitsOf(*meetings, size) : MeetingBits(size);
            }
        });
        return terms <= 3; // two characters and the two together
    }
};

SearchBlock::SearchBlock(std::vector<Text> texts)
    : m_texts(std::move(texts))
    , m_index(std::make_unique<const Index>(termsOf(m_texts), m_texts.size())) {}

SearchBlock::~SearchBlock() = default;

void SearchBlock::narrow(MeetingBits& found, const std::vector<std::string>& words) const {
    std::vector<std::string_view> open;
    for (const std::string& word : words) {
        if (word.empty()) {
            found = MeetingBits(m_texts.size());
        } else if (!m_index->narrow(found, word)) {
            open.push_back(word);
        }
    }
    for (const std::string_view word : open) {
        MeetingBits with = found;
        found.forEach([&](std::size_t meeting) {
            if (!contains(m_texts[meeting]->text, word)) {
                with.remove(meeting);
            }
        });
        found = std::move(with);
    }
}

std::size_t SearchBlock::indexBytes() const {
    return m_index->bytes();
}

} // namespace jobs
