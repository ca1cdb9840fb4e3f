// How alike two sequences are: the gestalt measure of Ratcliff and Obershelp.
//   ratio    2 * matched / (a + b), from 0 to 1, where matched is the length of the longest common contiguous block
//            plus what matches, measured in the same way, to the left of it and to the right of it in both
//   Ties     of equally long blocks the one that begins first in a, then first in b, is taken
//   Cost     at most proportional to the product of the lengths for each level of the recursion; in texts of words,
//            which seldom repeat, to the number of equal pairs
//   Threads  any; no state
//   Source   J. W. Ratcliff and D. E. Metzener, "Pattern Matching: The Gestalt Approach", Dr. Dobb's Journal, July 1988
#pragma once

#include <QString>

#include <cstdint>
#include <map>
#include <span>
#include <vector>

namespace ai::Gestalt {

/// Sequences whose lengths multiply to more than this are not compared: they count as not alike at all.
inline constexpr std::int64_t largestProduct = 400'000;

/// Items by number: equal items have equal numbers, from 0 up, without large holes.
using Items = std::span<const int>;

/// Length of all that matches.
[[nodiscard]] std::size_t matched(Items a, Items b);
/// 1 for two empty sequences.
[[nodiscard]] double ratio(Items a, Items b);
/// Whether ratio(a, b) is at least `limit`, which is above 0; what can't reach it is told without measuring.
[[nodiscard]] bool ratioReaches(Items a, Items b, double limit);

/// Two lists of anything that has an order.
template<typename Item>
[[nodiscard]] double ratio(const std::vector<Item>& a, const std::vector<Item>& b) {
    std::map<Item, int> numbers;
    const auto numbered = [&numbers](const std::vector<Item>& items) {
        std::vector<int> result;
        for (const Item& item : items) {
            result.push_back(numbers.try_emplace(item, static_cast<int>(numbers.size())).first->second);
        }
        return result;
    };
    const std::vector<int> left = numbered(a);
    const std::vector<int> right = numbered(b);
    return ratio(Items(left), Items(right));
}

/// Two texts, character by character, as a person counts characters.
[[nodiscard]] double ratio(const QString& a, const QString& b);

} // namespace ai::Gestalt
