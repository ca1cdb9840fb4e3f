// Lists of numbers by key, packed: which meetings have a term, which terms have a piece.
//   Threads  one at a time while it is built, any afterwards
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <optional>
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
    // Every bit of the key must reach the low ones: keys are characters, which differ in few bits.
    key = (key ^ (key >> 32U)) * 0x9E3779B97F4A7C15U;
    key = (key ^ (key >> 29U)) * 0xBF58476D1CE4E5B9U;
    return key ^ (key >> 32U);
}

inline std::uint64_t hashOf(std::string_view key) {
    return std::hash<std::string_view>()(key);
}

template<typename Value>
[[nodiscard]] std::size_t bytesOf(const std::vector<Value>& values) {
    return values.capacity() * sizeof(Value);
}

/// Lists by key; a key is known by its rank.
template<typename Key, typename Number>
struct Table {
    std::vector<Key> keys;
    Postings<Number> postings;

    /// The rank of a key in a table that is ordered by its keys.
    [[nodiscard]] std::optional<std::uint32_t> rankOf(const Key& key) const {
        const auto found = std::ranges::lower_bound(keys, key);
        return found != keys.end() && *found == key ? std::optional(static_cast<std::uint32_t>(found - keys.begin()))
                                                    : std::nullopt;
    }

    [[nodiscard]] std::size_t bytes() const { return bytesOf(keys) + postings.bytes(); }
};

/// Gathers keys and their numbers. The numbers of a key must come in ascending order; one that comes twice counts once.
template<typename Key, typename Number>
class TableBuilder {
public:
    /// Adds one number to each of the keys, and tells the numbers by which the builder knows these. Quicker than one by
    /// one: while a place is on its way from memory, others are looked at.
    void add(std::span<const Key> keys, Number number, std::vector<std::uint32_t>* ids = nullptr) {
        constexpr std::size_t ahead = 12;
        for (std::size_t i = 0; i < keys.size(); ++i) {
            if (i + ahead < keys.size()) {
                __builtin_prefetch(&m_places[hashOf(keys[i + ahead]) & (m_places.size() - 1)]);
            }
            const std::uint32_t id = add(keys[i], number);
            if (ids != nullptr) {
                ids->push_back(id);
            }
        }
    }

    std::uint32_t add(const Key& key, Number number) {
        Place& place = placeOf(key);
        const bool isNew = place.id == none;
        if (isNew) {
            place.key = key;
            place.id = static_cast<std::uint32_t>(m_counts.size());
            m_counts.push_back(0);
        } else if (place.last == number) {
            return place.id;
        }
        const std::uint32_t id = place.id;
        place.last = number;
        ++m_counts[id];
        m_pairs.emplace_back(id, number);
        if (isNew && m_counts.size() * 2 > m_places.size()) {
            grow();
        }
        return id;
    }

    [[nodiscard]] bool isEmpty() const { return m_counts.empty(); }

    /// The keys in the order of `before`, which is asked with two keys and the lengths of their lists. `ranks`, if
    /// asked for, tells the rank of each id.
    template<typename Before>
    [[nodiscard]] Table<Key, Number> build(Before before, std::vector<std::uint32_t>* ranks = nullptr) && {
        std::vector<Place> places;
        places.reserve(m_counts.size());
        std::ranges::copy_if(m_places, std::back_inserter(places), [](const Place& place) { return place.id != none; });
        std::vector<Place>().swap(m_places);
        std::ranges::sort(places, [&](const Place& left, const Place& right) {
            return before(left.key, m_counts[left.id], right.key, m_counts[right.id]);
        });
        Table<Key, Number> table;
        table.keys.reserve(places.size());
        table.postings.ends.reserve(places.size());
        std::vector<std::uint32_t> next(m_counts.size());
        if (ranks != nullptr) {
            ranks->resize(m_counts.size());
        }
        std::uint32_t end = 0;
        for (const Place& place : places) {
            if (ranks != nullptr) {
                (*ranks)[place.id] = static_cast<std::uint32_t>(table.keys.size());
            }
            table.keys.push_back(place.key);
            next[place.id] = end;
            end += m_counts[place.id];
            table.postings.ends.push_back(end);
        }
        table.postings.numbers.resize(end);
        for (const auto& [id, number] : m_pairs) {
            table.postings.numbers[next[id]++] = number;
        }
        return table;
    }

    /// In the order of the keys.
    [[nodiscard]] Table<Key, Number> build(std::vector<std::uint32_t>* ranks = nullptr) && {
        return std::move(*this).build(
            [](const Key& left, std::uint32_t, const Key& right, std::uint32_t) { return left < right; }, ranks);
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

    std::vector<Place> m_places = std::vector<Place>(1024); ///< a power of two, at most half in use
    std::vector<std::uint32_t> m_counts;                    ///< by id
    std::vector<std::pair<std::uint32_t, Number>> m_pairs;  ///< id and number, as they came
};

} // namespace jobs
