#include "ai/Gestalt.h"

#include <QTextBoundaryFinder>

#include <algorithm>
#include <utility>

namespace ai::Gestalt {

namespace {

struct Range {
    std::size_t from = 0;
    std::size_t to = 0;

    [[nodiscard]] bool empty() const { return from >= to; }
};

struct Block {
    std::size_t a = 0;
    std::size_t b = 0;
    std::size_t length = 0;
};

/// An item of the second sequence and its position.
using Place = std::pair<int, std::size_t>;

/// Where each item stands in the second sequence, and the run that ends at each position, for one pair of sequences.
class Matcher {
public:
    Matcher(Items a, Items b) : m_a(a), m_runs(b.size()), m_rowOfRun(b.size(), 0) {
        m_places.reserve(b.size());
        for (std::size_t j = 0; j < b.size(); ++j) {
            m_places.emplace_back(b[j], j);
        }
        std::ranges::sort(m_places);
    }

    std::size_t matched() {
        std::size_t total = 0;
        std::vector<std::pair<Range, Range>> open{{{0, m_a.size()}, {0, m_runs.size()}}};
        while (!open.empty()) {
            const auto [inA, inB] = open.back();
            open.pop_back();
            if (inA.empty() || inB.empty()) {
                continue;
            }
            const Block block = longestBlock(inA, inB);
            if (block.length == 0) {
                continue;
            }
            total += block.length;
            open.push_back({{inA.from, block.a}, {inB.from, block.b}});
            open.push_back({{block.a + block.length, inA.to}, {block.b + block.length, inB.to}});
        }
        return total;
    }

private:
    [[nodiscard]] std::span<const Place> placesOf(int item, Range inB) const {
        const auto from = std::ranges::lower_bound(m_places, Place{item, inB.from});
        return {from, std::lower_bound(from, m_places.end(), Place{item, inB.to})};
    }

    Block longestBlock(Range inA, Range inB) {
        Block best;
        std::size_t bestRow = 0;
        ++m_row; // no run of another range is continued
        for (std::size_t i = inA.from; i < inA.to; ++i) {
            ++m_row;
            const auto places = placesOf(m_a[i], inB);
            // From the right, so that the run to the left still is the one of the row before.
            for (auto place = places.rbegin(); place != places.rend(); ++place) {
                const std::size_t j = place->second;
                const bool continues = j > inB.from && m_rowOfRun[j - 1] == m_row - 1;
                const std::size_t length = continues ? m_runs[j - 1] + 1 : 1;
                m_runs[j] = length;
                m_rowOfRun[j] = m_row;
                if (length > best.length || (length == best.length && bestRow == m_row)) {
                    best = {i + 1 - length, j + 1 - length, length};
                    bestRow = m_row;
                }
            }
        }
        return best;
    }

    Items m_a;
    std::vector<Place> m_places;         ///< in order of the items, and of their positions
    std::vector<std::size_t> m_runs;     ///< length of the run that ends at a position of b
    std::vector<std::size_t> m_rowOfRun; ///< the row in which that was found
    std::size_t m_row = 0;
};

double share(std::size_t matchedItems, std::size_t total) {
    return 2 * static_cast<double>(matchedItems) / static_cast<double>(total);
}

bool tooLong(Items a, Items b) {
    return static_cast<std::int64_t>(a.size()) * static_cast<std::int64_t>(b.size()) > largestProduct;
}

/// How many items have a partner in the other sequence, in any order: no fewer than those that match.
std::size_t commonItems(Items a, Items b) {
    static thread_local std::vector<int> spare;
    int highest = 0;
    for (const int item : b) {
        highest = std::max(highest, item);
    }
    if (spare.size() <= static_cast<std::size_t>(highest)) {
        spare.resize(static_cast<std::size_t>(highest) + 1);
    }
    for (const int item : b) {
        ++spare[static_cast<std::size_t>(item)];
    }
    std::size_t common = 0;
    for (const int item : a) {
        if (item <= highest && spare[static_cast<std::size_t>(item)] > 0) {
            --spare[static_cast<std::size_t>(item)];
            ++common;
        }
    }
    for (const int item : b) {
        spare[static_cast<std::size_t>(item)] = 0;
    }
    return common;
}

std::vector<QString> characters(const QString& text) {
    std::vector<QString> result;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype from = 0;
    for (qsizetype to = finder.toNextBoundary(); to >= 0; from = to, to = finder.toNextBoundary()) {
        // A character is the same however its marks are composed.
        result.push_back(text.sliced(from, to - from).normalized(QString::NormalizationForm_C));
    }
    return result;
}

} // namespace

std::size_t matched(Items a, Items b) {
    return a.empty() || b.empty() ? 0 : Matcher(a, b).matched();
}

double ratio(Items a, Items b) {
    if (a.empty() && b.empty()) {
        return 1.0;
    }
    return tooLong(a, b) ? 0.0 : share(matched(a, b), a.size() + b.size());
}

bool ratioReaches(Items a, Items b, double limit) {
    const std::size_t total = a.size() + b.size();
    if (total == 0) {
        return 1.0 >= limit;
    }
    if (tooLong(a, b) || share(std::min(a.size(), b.size()), total) < limit ||
        share(commonItems(a, b), total) < limit) {
        return false;
    }
    return share(matched(a, b), total) >= limit;
}

double ratio(const QString& a, const QString& b) {
    return ratio(characters(a), characters(b));
}

} // namespace ai::Gestalt
