// The measure as it is told, with the whole table of every pair: what the quick one is compared with.
#pragma once

#include <cstddef>
#include <vector>

namespace plain {

template<typename Item>
std::size_t matched(const std::vector<Item>& a, std::size_t aFrom, std::size_t aTo, const std::vector<Item>& b,
                    std::size_t bFrom, std::size_t bTo) {
    std::size_t bestA = 0;
    std::size_t bestB = 0;
    std::size_t best = 0;
    std::vector<std::size_t> before(bTo - bFrom + 1);
    for (std::size_t i = aFrom; i < aTo; ++i) {
        std::vector<std::size_t> row(bTo - bFrom + 1);
        for (std::size_t j = bFrom; j < bTo; ++j) {
            if (a[i] == b[j]) {
                row[j - bFrom + 1] = before[j - bFrom] + 1;
                if (row[j - bFrom + 1] > best) {
                    best = row[j - bFrom + 1];
                    bestA = i + 1 - best;
                    bestB = j + 1 - best;
                }
            }
        }
        before = row;
    }
    if (best == 0) {
        return 0;
    }
    return best + matched(a, aFrom, bestA, b, bFrom, bestB) + matched(a, bestA + best, aTo, b, bestB + best, bTo);
}

template<typename Item>
double ratio(const std::vector<Item>& a, const std::vector<Item>& b) {
    if (a.empty() && b.empty()) {
        return 1.0;
    }
    if (a.size() * b.size() > 400000) {
        return 0.0;
    }
    return 2 * static_cast<double>(matched(a, 0, a.size(), b, 0, b.size())) / static_cast<double>(a.size() + b.size());
}

} // namespace plain
