// Which meetings have a sequence of characters of scripts without blanks.
//   Levels   all single characters, all sequences of two, and of each further length those whose beginning and whose
//            end, one character shorter, both are in many meetings. So either a sequence is in the table, or a part of
//            it that is in few meetings is
//   Threads  building: any. Afterwards any number at once
#pragma once

#include "jobs/MeetingBits.h"
#include "jobs/Postings_p.h"
#include "jobs/SearchTerms_p.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace jobs {

class DenseTerms {
public:
    /// Gathers the runs of one meeting after the other.
    class Builder {
    public:
        void add(std::string_view run) {
            SearchTerms::forEachCharacter(run,
                                          [this](SearchTerms::Key character) { m_characters.push_back(character); });
            m_characters.push_back(0);
        }

        void endMeeting() { m_ends.push_back(static_cast<std::uint32_t>(m_characters.size())); }

    private:
        friend class DenseTerms;
        std::vector<SearchTerms::Key> m_characters; ///< of all meetings; 0 ends a run
        std::vector<std::uint32_t> m_ends;          ///< by meeting
    };

    explicit DenseTerms(Builder builder);

    /// Leaves those of `found` that may have the sequence, which is not empty. Whether they have it for sure.
    bool narrow(MeetingBits& found, std::string_view sequence) const;

    [[nodiscard]] std::size_t bytes() const;

private:
    using Level = Table<SearchTerms::Key, SearchTerms::Meeting>;
    using LevelBuilder = TableBuilder<SearchTerms::Key, SearchTerms::Meeting>;

    /// Where a sequence begins, counted in characters and ends of runs of all meetings, and which it is.
    struct Occurrence {
        std::uint32_t place;
        std::uint32_t rank;
    };

    static constexpr std::size_t mostLevels = 8;
    /// In more than this share of the meetings a sequence is in many.
    static constexpr std::size_t manyOf = 16;
    static constexpr std::uint32_t none = ~std::uint32_t{0};

    /// A sequence is known by the ranks of its beginning and of its end on the level below.
    [[nodiscard]] static SearchTerms::Key keyOf(std::uint32_t beginning, std::uint32_t end) {
        return static_cast<SearchTerms::Key>(beginning) << 32U | end;
    }

    [[nodiscard]] std::vector<Occurrence> addCharacters(const Builder& builder);
    [[nodiscard]] std::vector<Occurrence> addLevel(const std::vector<Occurrence>& below,
                                                   const std::vector<std::uint32_t>& ends);
    void addRanked(LevelBuilder level, std::vector<Occurrence>& found);
    [[nodiscard]] bool goesOn(std::size_t level, std::uint32_t rank) const;
    void narrowTo(MeetingBits& found, std::size_t level, std::uint32_t rank) const;

    std::size_t m_size; ///< meetings
    std::vector<Level> m_levels;
};

} // namespace jobs
