// Some of a number of meetings, one bit each.
//   Threads  any; a plain value
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace jobs {

class MeetingBits {
public:
    MeetingBits() = default;

    /// None of `size` meetings.
    explicit MeetingBits(std::size_t size) : m_words((size + 63) / 64), m_size(size) {}

    [[nodiscard]] static MeetingBits all(std::size_t size) {
        MeetingBits bits(size);
        for (std::uint64_t& word : bits.m_words) {
            word = ~std::uint64_t{0};
        }
        if (size % 64 != 0) {
            bits.m_words.back() >>= 64 - size % 64;
        }
        return bits;
    }

    [[nodiscard]] std::size_t size() const { return m_size; }

    /// False beyond the size.
    [[nodiscard]] bool has(std::size_t index) const {
        return index < m_size && ((m_words[index / 64] >> (index % 64)) & 1U) != 0;
    }

    void add(std::size_t index) { m_words[index / 64] |= std::uint64_t{1} << (index % 64); }

    void remove(std::size_t index) { m_words[index / 64] &= ~(std::uint64_t{1} << (index % 64)); }

    [[nodiscard]] std::size_t count() const {
        std::size_t sum = 0;
        for (const std::uint64_t word : m_words) {
            sum += static_cast<std::size_t>(std::popcount(word));
        }
        return sum;
    }

    [[nodiscard]] bool isEmpty() const { return count() == 0; }

    /// Only those that `other`, of the same size, has too.
    MeetingBits& operator&=(const MeetingBits& other) {
        for (std::size_t i = 0; i < m_words.size(); ++i) {
            m_words[i] &= other.m_words[i];
        }
        return *this;
    }

    MeetingBits& operator|=(const MeetingBits& other) {
        for (std::size_t i = 0; i < m_words.size(); ++i) {
            m_words[i] |= other.m_words[i];
        }
        return *this;
    }

    /// Calls `visit` with each index that is in it, in ascending order.
    template<typename Visit>
    void forEach(Visit visit) const {
        for (std::size_t i = 0; i < m_words.size(); ++i) {
            for (std::uint64_t word = m_words[i]; word != 0; word &= word - 1) {
                visit(i * 64 + static_cast<std::size_t>(std::countr_zero(word)));
            }
        }
    }

    bool operator==(const MeetingBits&) const = default;

private:
    std::vector<std::uint64_t> m_words;
    std::size_t m_size = 0;
};

} // namespace jobs
