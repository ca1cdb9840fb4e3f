#include "ai/Gestalt.h"
#include "ai/TranscriptCleaner.h"
#include "ai/TranscriptTokens_p.h"

#include <QHashFunctions>

#include <algorithm>
#include <functional>
#include <limits>
#include <unordered_map>

namespace ai::TranscriptCleaner {

namespace {

/// A segment with its text as numbers.
struct Spoken {
    double start = 0;
    double end = 0;
    std::vector<int> words;
    bool substantial = false;
};

/// Gives equal words equal numbers, however their marks are composed.
class Vocabulary {
public:
    Spoken number(const NormalizedSegment& heard) {
        Spoken spoken{heard.segment.start, heard.segment.end, {}, false};
        std::size_t cjk = 0;
        forEachToken(heard.normalized, [&](QStringView token) {
            spoken.words.push_back(numberOf(token));
            cjk += isCJK(token) ? 1 : 0;
        });
        spoken.substantial = isSubstantial(spoken.words.size() - cjk, cjk);
        return spoken;
    }

private:
    struct Hash {
        using is_transparent = void;

        std::size_t operator()(QStringView text) const noexcept { return qHash(text); }
    };

    int numberOf(QStringView token) {
        if (const auto known = m_numbers.find(token); known != m_numbers.end()) {
            return known->second;
        }
        const auto next = static_cast<int>(m_numbers.size());
        const QString composed = token.toString().normalized(QString::NormalizationForm_C);
        const int number = m_numbers.try_emplace(composed, next).first->second;
        m_numbers.try_emplace(token.toString(), number);
        return number;
    }

    std::unordered_map<QString, int, Hash, std::equal_to<>> m_numbers;
};

bool overlaps(const Spoken& one, const Spoken& other) {
    return one.start < other.end && other.start < one.end;
}

bool contains(double share, std::size_t whole, std::size_t part) {
    return static_cast<double>(whole) * share <= static_cast<double>(part);
}

bool isLeakOfOne(const Spoken& heard, const Spoken& played) {
    if (Gestalt::ratioReaches(heard.words, played.words, leakRatio)) {
        return true;
    }
    return contains(containShare, played.words.size(), heard.words.size()) &&
           find(heard.words, played.words).has_value();
}

/// What was heard may run across the boundary between two of the system's segments.
bool isLeakOfSeveral(const Spoken& heard, std::span<const Spoken* const> ordered) {
    std::vector<int> stream;
    std::vector<std::size_t> owners;
    for (std::size_t i = 0; i < ordered.size(); ++i) {
        stream.insert(stream.end(), ordered[i]->words.begin(), ordered[i]->words.end());
        owners.insert(owners.end(), ordered[i]->words.size(), i);
    }
    const auto at = find(heard.words, stream);
    if (!at) {
        return false;
    }
    std::size_t whole = 0;
    for (std::size_t i = owners[*at]; i <= owners[*at + heard.words.size() - 1]; ++i) {
        whole += ordered[i]->words.size(); // one without words owns nothing and adds nothing
    }
    return contains(containShare, whole, heard.words.size());
}

bool isLeakOfOverlapping(const Spoken& heard, std::span<const Spoken* const> ordered) {
    std::vector<int> stream;
    bool any = false;
    for (const Spoken* played : ordered) {
        if (overlaps(heard, *played)) {
            any = true;
            stream.insert(stream.end(), played->words.begin(), played->words.end());
        }
    }
    return any && Gestalt::ratioReaches(heard.words, stream, leakRatio);
}

/// `ordered`: the system's segments around it, by their start.
bool isLeak(const Spoken& heard, std::span<const Spoken* const> ordered) {
    if (heard.words.empty() || ordered.empty()) {
        return false;
    }
    if (!heard.substantial) {
        // A "yes" is a leak only of nearly the same word at the same moment.
        return std::ranges::any_of(ordered, [&heard](const Spoken* played) {
            return overlaps(heard, *played) && Gestalt::ratioReaches(heard.words, played->words, shortLeakRatio);
        });
    }
    return std::ranges::any_of(ordered, [&heard](const Spoken* played) { return isLeakOfOne(heard, *played); }) ||
           isLeakOfSeveral(heard, ordered) || isLeakOfOverlapping(heard, ordered);
}

/// Finds, of segments ordered by their start, those that reach a span of time: a tree of the latest ends, so that a
/// segment of an hour costs those after it nothing.
class SpanIndex {
public:
    explicit SpanIndex(std::span<const Spoken> ordered) : m_ordered(ordered) {
        while (m_leaves < ordered.size()) {
            m_leaves *= 2;
        }
        m_latestEnd.assign(2 * m_leaves, -std::numeric_limits<double>::infinity());
        for (std::size_t i = 0; i < ordered.size(); ++i) {
            m_latestEnd[m_leaves + i] = ordered[i].end;
        }
        for (std::size_t node = m_leaves - 1; node >= 1; --node) {
            m_latestEnd[node] = std::max(m_latestEnd[2 * node], m_latestEnd[2 * node + 1]);
        }
    }

    /// Those with start <= `latestStart` and end >= `earliestEnd`, in their order.
    void collect(double latestStart, double earliestEnd, std::vector<const Spoken*>& found) const {
        const auto behind = std::ranges::upper_bound(m_ordered, latestStart, {}, &Spoken::start);
        found.clear();
        descend(1, 0, m_leaves, static_cast<std::size_t>(behind - m_ordered.begin()), earliestEnd, found);
    }

private:
    void descend(std::size_t node, std::size_t from, std::size_t to, std::size_t limit, double earliestEnd,
                 std::vector<const Spoken*>& found) const {
        if (from >= limit || !(m_latestEnd[node] >= earliestEnd)) {
            return;
        }
        if (to - from == 1) {
            found.push_back(&m_ordered[from]);
            return;
        }
        const std::size_t middle = from + (to - from) / 2;
        descend(2 * node, from, middle, limit, earliestEnd, found);
        descend(2 * node + 1, middle, to, limit, earliestEnd, found);
    }

    std::span<const Spoken> m_ordered;
    std::size_t m_leaves = 1;
    std::vector<double> m_latestEnd;
};

std::vector<Spoken> numberedByStart(Vocabulary& vocabulary, std::span<const NormalizedSegment> segments) {
    std::vector<Spoken> ordered;
    ordered.reserve(segments.size());
    for (const NormalizedSegment& segment : segments) {
        ordered.push_back(vocabulary.number(segment));
    }
    std::ranges::stable_sort(ordered, {}, &Spoken::start);
    return ordered;
}

std::vector<NormalizedSegment> normalizedOf(std::span<const WhisperSegment> segments) {
    std::vector<NormalizedSegment> result;
    result.reserve(segments.size());
    for (const WhisperSegment& segment : segments) {
        result.push_back({segment, normalize(segment.text)});
    }
    return result;
}

} // namespace

bool isLeak(const WhisperSegment& segment, std::span<const WhisperSegment> near) {
    Vocabulary vocabulary;
    const std::vector<Spoken> ordered = numberedByStart(vocabulary, normalizedOf(near));
    std::vector<const Spoken*> pointers;
    for (const Spoken& spoken : ordered) {
        pointers.push_back(&spoken);
    }
    return isLeak(vocabulary.number({segment, normalize(segment.text)}), pointers);
}

std::vector<WhisperSegment> removeLeaks(std::span<const WhisperSegment> mic, std::span<const WhisperSegment> system) {
    return withoutLeaks(normalizedOf(mic), normalizedOf(system));
}

std::vector<WhisperSegment> withoutLeaks(std::span<const NormalizedSegment> mic,
                                         std::span<const NormalizedSegment> system) {
    Vocabulary vocabulary;
    const std::vector<Spoken> ordered = numberedByStart(vocabulary, system);
    const SpanIndex index(ordered);
    std::vector<const Spoken*> near;
    std::vector<WhisperSegment> kept;
    kept.reserve(mic.size());
    for (const NormalizedSegment& heard : mic) {
        index.collect(heard.segment.end + leakWindow, heard.segment.start - leakWindow, near);
        if (near.empty() || !isLeak(vocabulary.number(heard), near)) {
            kept.push_back(heard.segment);
        }
    }
    return kept;
}

} // namespace ai::TranscriptCleaner
