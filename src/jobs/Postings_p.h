// Lists of numbers by key, packed: which meetings have a term, which terms have a piece.
//   Threads  one at a time while it is built, any afterwards
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <numeric>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace jobs {

/// The lists one after the other; those of key number i end at ends[i].
template<typename Number>
struct Postings {
    std::vector<std::uint32_t> ends;
    std::vector<Number> numbers;

    [[nodiscard]] std::size_t size() const { return ends.size(); }

    [[nodiscard]] std::span<const Number> at(std::size_t key) const {
        const std::uint32_t first = key == 0 ? 0 : ends[key - 1];
        return {numbers.data() + first, numbers.data() + ends[key]};
    }

    [[nodiscard]] std::size_t bytes() const {
        return ends.capacity() * sizeof(std::uint32_t) + numbers.capacity() * sizeof(Number);
    }
};

inline std::uint64_t hashOf(std::uint64_t key) {
    key *= 0x9E3779B97F4A7C15U;
    return key ^ (key >> 32U);
}

inline std::uint64_t hashOf(std::string_view key) {
    return std::hash<std::string_view>()(key);
}

/// Gathers keys and their numbers. The numbers of a key must come in ascending order; one that comes twice counts once.
template<typename Key, typename Number>
class PostingsBuilder {
public:
    void add(const Key& key, Number number) {
        Place& place = placeOf(key);
        if (place.id == none) {
            place = {key, static_cast<std::uint32_t>(m_counts.size()), number};
            m_counts.push_back(0);
        } else if (place.last == number) {
            return;
        }
        place.last = number;
        ++m_counts[place.id];
        m_pairs.emplace_back(place.id, number);
        if (m_counts.size() * 4 > m_places.size() * 3) {
            grow();
        }
    }

    struct Built {
        std::vector<Key> keys;
        Postings<Number> postings;
    };

    /// The keys in the order of `before`, which is asked with two keys and the lengths of their lists.
    template<typename Before>
    [[nodiscard]] Built build(Before before) && {
        std::vector<Place> places;
        places.reserve(m_counts.size());
        std::ranges::copy_if(m_places, std::back_inserter(places), [](const Place& place) { return place.id != none; });
        std::vector<Place>().swap(m_places);
        std::ranges::sort(places, [&](const Place& left, const Place& right) {
            return before(left.key, m_counts[left.id], right.key, m_counts[right.id]);
        });
        Built built;
        built.keys.reserve(places.size());
        built.postings.ends.reserve(places.size());
        std::vector<std::uint32_t> next(m_counts.size());
        std::uint32_t end = 0;
        for (const Place& place : places) {
            built.keys.push_back(place.key);
            next[place.id] = end;
            end += m_counts[place.id];
            built.postings.ends.push_back(end);
        }
        built.postings.numbers.resize(end);
        for (const auto& [id, number] : m_pairs) {
            built.postings.numbers[next[id]++] = number;
        }
        return built;
    }

private:
    static constexpr std::uint32_t none = ~std::uint32_t{0};

    struct Place {
        Key key{};
        std::uint32_t id = none;
        Number last{};
    };

    /// Where the key stands, or the free place where it belongs.
    [[nodiscard]] Place& placeOf(const Key& key) {
        const std::size_t mask = m_places.size() - 1;
        std::size_t at = hashOf(key) & mask;
        while (m_places[at].id != none && m_places[at].key != key) {
            at = (at + 1) & mask;
        }
        return m_places[at];
    }

    void grow() {
        std::vector<Place> old(m_places.size() * 2);
        old.swap(m_places);
        for (Place& place : old) {
            if (place.id != none) {
                placeOf(place.key) = place;
            }
        }
    }

    std::vector<Place> m_places = std::vector<Place>(1024); ///< a power of two, at most three quarters in use
    std::vector<std::uint32_t> m_counts;                    ///< by id
    std::vector<std::pair<std::uint32_t, Number>> m_pairs;  ///< id and number, as they came
};

} // namespace jobs
