#include "adapter/Speech.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

namespace adapter {
namespace {

/// What is shorter is not worth a cut of its own: it goes with the stretch it belongs to.
constexpr double leastCutSeconds = 5.0;
/// Frames that are quiet together: a pause between words, not one inside of them.
constexpr std::size_t seamFrames = 10;

std::size_t frameAt(double seconds, std::size_t count) {
    return std::min(static_cast<std::size_t>(std::max(seconds, 0.0) / Loudness::frameSeconds), count);
}

/// The middle of the quietest run of frames between the two moments; `latest` where no run fits.
double quietestMoment(std::span<const float> levels, double earliest, double latest) {
    const auto begin = frameAt(earliest, levels.size());
    const auto end = frameAt(latest, levels.size());
    double best = latest;
    double bestSum = std::numeric_limits<double>::infinity();
    for (std::size_t at = begin; at + seamFrames <= end; ++at) {
        const auto run = levels.subspan(at, seamFrames);
        const double sum = std::accumulate(run.begin(), run.end(), 0.0);
        if (sum < bestSum) {
            bestSum = sum;
            best = Loudness::frameSeconds * (static_cast<double>(at) + static_cast<double>(seamFrames) / 2);
        }
    }
    return best;
}

} // namespace

double Piece::length() const {
    double sum = 0;
    for (const auto& range : m_ranges) {
        sum += range.length();
    }
    return sum;
}

double Piece::startInTrack(double seconds) const {
    double left = std::max(seconds, 0.0);
    for (const auto& range : m_ranges) {
        if (left < range.length()) {
            return range.start + left;
        }
        left -= range.length();
    }
    return m_ranges.empty() ? 0.0 : m_ranges.back().end;
}

double Piece::endInTrack(double seconds) const {
    double left = std::max(seconds, 0.0);
    for (const auto& range : m_ranges) {
        if (left <= range.length()) {
            return range.start + left;
        }
        left -= range.length();
    }
    return m_ranges.empty() ? 0.0 : m_ranges.back().end;
}

std::vector<Piece> pieces(std::span<const Range> ranges, std::span<const float> levels) {
    std::vector<Piece> result;
    std::vector<Range> open;
    double room = firstPieceSeconds;
    const auto close = [&] {
        if (!open.empty()) {
            result.emplace_back(std::exchange(open, {}));
            room = pieceSeconds;
        }
    };
    for (Range rest : ranges) {
        if (rest.length() > room && !open.empty() && rest.length() <= pieceSeconds) {
            close(); // the seam lies in a silence rather than in a word
        }
        while (rest.length() > room + leastCutSeconds) {
            const double latest = rest.start + room;
            const double seam = quietestMoment(levels, latest - std::min(seamSearchSeconds, room / 2), latest);
            open.push_back({rest.start, seam});
            rest.start = seam;
            close();
        }
        open.push_back(rest);
        room = std::max(room - rest.length(), 0.0);
        if (room < leastCutSeconds) {
            close();
        }
    }
    close();
    return result;
}

} // namespace adapter
