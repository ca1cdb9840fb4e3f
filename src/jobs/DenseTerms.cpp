#include "jobs/DenseTerms_p.h"

#include <algorithm>
#include <utility>

namespace jobs {

using SearchTerms::Key;
using SearchTerms::Meeting;

DenseTerms::DenseTerms(Builder builder) : m_size(builder.m_ends.size()) {
    auto found = addCharacters(builder);
    std::vector<Key>().swap(builder.m_characters);
    while (!found.empty() && m_levels.size() < mostLevels) {
        found = addLevel(found, builder.m_ends);
    }
}

/// The characters in the order of the texts.
std::vector<DenseTerms::Occurrence> DenseTerms::addCharacters(const Builder& builder) {
    LevelBuilder level;
    std::vector<Occurrence> found;
    found.reserve(builder.m_characters.size());
    std::uint32_t place = 0;
    for (std::size_t meeting = 0; meeting < builder.m_ends.size(); ++meeting) {
        for (; place < builder.m_ends[meeting]; ++place) {
            if (const Key character = builder.m_characters[place]; character != 0) {
                found.push_back({place, level.add(character, static_cast<Meeting>(meeting))});
            }
        }
    }
    addRanked(std::move(level), found);
    return found;
}

/// Makes the next level of the sequences that were found on the last one. Gives those of the new level in the order of
/// the texts; if there are none there is no level either.
std::vector<DenseTerms::Occurrence> DenseTerms::addLevel(const std::vector<Occurrence>& below,
                                                         const std::vector<std::uint32_t>& ends) {
    LevelBuilder level;
    std::vector<Occurrence> found;
    std::vector<Key> keys;
    std::vector<std::uint32_t> ids;
    std::size_t at = 0;
    bool leads = false; // whether the occurrence before this one stands right before it, and goes on
    for (std::size_t meeting = 0; meeting < ends.size(); ++meeting) {
        const std::size_t first = found.size();
        keys.clear();
        ids.clear();
        for (; at < below.size() && below[at].place < ends[meeting]; ++at) {
            const Occurrence& each = below[at];
            const bool goes = goesOn(m_levels.size() - 1, each.rank);
            if (leads && goes && below[at - 1].place + 1 == each.place) {
                found.push_back({each.place - 1, none});
                keys.push_back(keyOf(below[at - 1].rank, each.rank));
            }
            leads = goes;
        }
        level.add(keys, static_cast<Meeting>(meeting), &ids);
        for (std::size_t i = 0; i < ids.size(); ++i) {
            found[first + i].rank = ids[i];
        }
    }
    if (!found.empty()) {
        addRanked(std::move(level), found);
    }
    return found;
}

/// Adds the level, and tells the ranks of occurrences that so far have the builder's numbers.
void DenseTerms::addRanked(LevelBuilder level, std::vector<Occurrence>& found) {
    std::vector<std::uint32_t> rankOf;
    m_levels.push_back(std::move(level).build(&rankOf));
    for (Occurrence& each : found) {
        each.rank = rankOf[each.rank];
    }
}

/// Whether the next level has all sequences that are made of this one and of another that goes on.
bool DenseTerms::goesOn(std::size_t level, std::uint32_t rank) const {
    return rank != none && (level == 0 || m_levels[level].postings.at(rank).size() * manyOf > m_size);
}

void DenseTerms::narrowTo(MeetingBits& found, std::size_t level, std::uint32_t rank) const {
    MeetingBits with(m_size);
    for (const Meeting meeting : m_levels[level].postings.at(rank)) {
        with.add(meeting);
    }
    found &= with;
}

bool DenseTerms::narrow(MeetingBits& found, std::string_view sequence) const {
    const auto nothing = [&] {
        found = MeetingBits(m_size);
        return true;
    };
    std::vector<std::uint32_t> ranks;
    SearchTerms::forEachCharacter(
        sequence, [&](Key character) { ranks.push_back(m_levels.front().rankOf(character).value_or(none)); });
    if (std::ranges::find(ranks, none) != ranks.end()) {
        return nothing();
    }
    for (std::size_t level = 0; ranks.size() > 1; ++level) {
        std::vector<std::uint32_t> next(ranks.size() - 1, none);
        for (std::size_t i = 0; i < next.size(); ++i) {
            if (level + 1 == mostLevels || !goesOn(level, ranks[i]) || !goesOn(level, ranks[i + 1])) {
                continue;
            }
            const auto longer =
                level + 1 < m_levels.size() ? m_levels[level + 1].rankOf(keyOf(ranks[i], ranks[i + 1])) : std::nullopt;
            if (!longer) {
                return nothing();
            }
            next[i] = *longer;
        }
        // What is not part of something longer has to say it by itself.
        for (std::size_t i = 0; i < ranks.size(); ++i) {
            const bool isPart = (i > 0 && next[i - 1] != none) || (i < next.size() && next[i] != none);
            if (ranks[i] != none && !isPart) {
                narrowTo(found, level, ranks[i]);
            }
        }
        if (std::ranges::all_of(next, [](std::uint32_t rank) { return rank == none; })) {
            return false;
        }
        ranks = std::move(next);
        if (ranks.size() == 1) {
            narrowTo(found, level + 1, ranks.front());
            return true;
        }
    }
    narrowTo(found, 0, ranks.front());
    return true;
}

std::size_t DenseTerms::bytes() const {
    std::size_t sum = 0;
    for (const Level& level : m_levels) {
        sum += level.bytes();
    }
    return sum;
}

} // namespace jobs
