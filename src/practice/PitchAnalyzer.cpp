#include "practice/PitchAnalyzer.h"

#include "base/SerialQueue.h"
#include "base/Text.h"
#include "media/AudioReader.h"
#include "practice/YinTracker.h"

#include <QStringList>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <semaphore>

namespace practice::PitchAnalyzer {

using namespace Qt::StringLiterals;
using Segment = ai::Transcript::Segment;

namespace {

/// A rest of a recording no longer than this is no stretch of its own.
constexpr double shortestRest = 0.001;

/// What is decoded at a time.
constexpr std::size_t pieceLength = 32768;
/// Pieces that wait for the tracker at most.
constexpr std::ptrdiff_t piecesInFlight = 4;

/// Hands the samples of a file over piece by piece; false when it can't be opened. What follows a damaged place is
/// left out, as at the end of the file.
template<typename Take>
bool readPieces(const base::fs::path& file, Take take) {
    const auto reader = media::AudioReader::open(file, sampleRate);
    if (!reader) {
        return false;
    }
    for (;;) {
        std::vector<float> piece(pieceLength);
        const auto got = (*reader)->read(piece);
        if (!got || *got == 0) {
            return true;
        }
        piece.resize(*got);
        take(std::move(piece));
    }
}

/// The voiced frames of a track as columns.
struct Voiced {
    std::vector<std::ptrdiff_t> frames;
    std::vector<double> times;
    std::vector<double> hz;
};

Voiced voicedOf(const std::vector<Frame>& frames) {
    Voiced voiced;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        if (frames[i].hz) {
            voiced.frames.push_back(static_cast<std::ptrdiff_t>(i));
            voiced.times.push_back(frames[i].time);
            voiced.hz.push_back(*frames[i].hz);
        }
    }
    return voiced;
}

std::vector<double> semitonesOf(const std::vector<double>& hz, double reference) {
    std::vector<double> values(hz.size());
    std::ranges::transform(hz, values.begin(), [reference](double one) { return semitones(one, reference); });
    return values;
}

/// Drops the frames that stand an octave away from their neighbourhood. A dropped frame still votes for its neighbours.
Voiced withoutOctaveErrors(const Voiced& voiced, double reference) {
    const std::vector<double> values = semitonesOf(voiced.hz, reference);
    Voiced kept;
    std::size_t from = 0;
    std::size_t behind = 0;
    std::vector<double> neighbourhood;
    for (std::size_t k = 0; k < values.size(); ++k) {
        while (voiced.frames[k] - voiced.frames[from] > neighbourFrames) {
            ++from;
        }
        while (behind < values.size() && voiced.frames[behind] - voiced.frames[k] <= neighbourFrames) {
            ++behind;
        }
        neighbourhood.assign(values.begin() + static_cast<std::ptrdiff_t>(from),
                             values.begin() + static_cast<std::ptrdiff_t>(behind));
        if (std::abs(values[k] - *median(neighbourhood)) <= octaveJumpSemitones) {
            kept.frames.push_back(voiced.frames[k]);
            kept.times.push_back(voiced.times[k]);
            kept.hz.push_back(voiced.hz[k]);
        }
    }
    return kept;
}

/// The values whose times lie in from <= t < to.
std::span<const double> valuesBetween(const std::vector<double>& times, const std::vector<double>& values, double from,
                                      double to) {
    const auto first = std::ranges::lower_bound(times, from);
    const auto last = std::lower_bound(first, times.end(), to);
    return std::span(values).subspan(static_cast<std::size_t>(first - times.begin()),
                                     static_cast<std::size_t>(last - first));
}

QString onOneLine(const QString& text) {
    QStringList pieces;
    QString piece;
    const auto endPiece = [&] {
        if (QString trimmed = base::Text::trimmedBlanks(piece); !trimmed.isEmpty()) {
            pieces.append(std::move(trimmed));
        }
        piece.clear();
    };
    for (const QChar unit : text) {
        if (base::Text::isNewline(unit.unicode())) {
            endPiece();
        } else {
            piece += unit;
        }
    }
    endPiece();
    return pieces.join(u' ');
}

std::optional<PitchStats::Flattest> flattestOf(const std::vector<PitchStats::Window>& curve,
                                               const std::vector<Segment>& segments, const std::vector<double>& times,
                                               const std::vector<double>& values) {
    const PitchStats::Window* flattest = nullptr;
    int rated = 0;
    for (const PitchStats::Window& window : curve) {
        if (window.semitoneSD) {
            ++rated;
            if (flattest == nullptr || *window.semitoneSD < *flattest->semitoneSD) {
                flattest = &window;
            }
        }
    }
    if (rated < 2) {
        return std::nullopt; // a single stretch has nothing to be flatter than
    }
    PitchStats::Flattest result{flattest->start, flattest->end, *flattest->semitoneSD, std::nullopt, std::nullopt};
    if (const auto said = sentence(*flattest, segments, times, values)) {
        result.sentence = said->first;
        result.sentenceStart = oneDecimal(said->second);
    }
    return result;
}

} // namespace

double semitones(double hz, double reference) {
    return 12.0 * std::log2(hz / reference);
}

std::optional<double> median(std::vector<double> values) {
    if (values.empty()) {
        return std::nullopt;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    if (values.size() % 2 == 1) {
        return *middle;
    }
    return (*std::max_element(values.begin(), middle) + *middle) / 2;
}

double quantile(const std::vector<double>& sorted, double q) {
    if (sorted.empty()) {
        return 0;
    }
    const double position = q * static_cast<double>(sorted.size() - 1);
    const auto lower = static_cast<std::size_t>(std::floor(position));
    const auto upper = std::min(lower + 1, sorted.size() - 1);
    return sorted[lower] + (position - static_cast<double>(lower)) * (sorted[upper] - sorted[lower]);
}

std::optional<double> standardDeviation(std::span<const double> values) {
    if (values.size() < 2) {
        return std::nullopt;
    }
    const auto count = static_cast<double>(values.size());
    double sum = 0;
    for (const double value : values) {
        sum += value;
    }
    const double mean = sum / count;
    double squares = 0;
    for (const double value : values) {
        squares += (value - mean) * (value - mean);
    }
    return std::sqrt(squares / count);
}

double oneDecimal(double x) {
    return base::Text::roundedToTenth(x);
}

std::optional<std::vector<float>> readMono(const base::fs::path& file) {
    std::vector<float> samples;
    const bool opened = readPieces(file, [&samples](const std::vector<float>& piece) {
        samples.insert(samples.end(), piece.begin(), piece.end());
    });
    return opened ? std::optional(std::move(samples)) : std::nullopt;
}

std::optional<PitchStats> analyze(const base::fs::path& file, const std::vector<Segment>& segments) {
    YinTracker tracker;
    bool opened = false;
    {
        // Decoding and tracking run side by side; the semaphore keeps the decoder from running away.
        std::counting_semaphore<piecesInFlight> room(piecesInFlight);
        base::SerialQueue tracking("com.orvane.tarvex.ai.pitch", base::Priority::Utility);
        opened = readPieces(file, [&](std::vector<float> piece) {
            room.acquire();
            tracking.post([&tracker, &room, samples = std::move(piece)] {
                tracker.append(samples);
                room.release();
            });
        });
        tracking.sync([] {});
    }
    if (!opened) {
        return std::nullopt;
    }
    const double duration = static_cast<double>(tracker.samplesSeen()) / sampleRate;
    return stats(tracker.finish(), duration, segments);
}

std::vector<Frame> track(std::span<const float> samples) {
    YinTracker tracker;
    tracker.append(samples);
    return tracker.finish();
}

PitchStats stats(const std::vector<Frame>& frames, double duration, const std::vector<Segment>& segments) {
    PitchStats result;
    const Voiced voiced = voicedOf(frames);
    const auto firstMedian = median(voiced.hz);
    if (!firstMedian) {
        result.windows = windows({}, {}, duration);
        return result;
    }
    const Voiced kept = withoutOctaveErrors(voiced, *firstMedian);
    result.octaveFramesDropped = static_cast<std::int64_t>(voiced.hz.size() - kept.hz.size());
    result.voicedSeconds = oneDecimal(static_cast<double>(kept.hz.size()) * hopSeconds);
    const auto secondMedian = median(kept.hz);
    if (!secondMedian) {
        result.windows = windows({}, {}, duration);
        return result;
    }
    result.medianHz = oneDecimal(*secondMedian);
    const std::vector<double> values = semitonesOf(kept.hz, *secondMedian);
    if (const auto sd = standardDeviation(values)) {
        std::vector<double> sorted = values;
        std::ranges::sort(sorted);
        const double low = quantile(sorted, 0.1);
        const double high = quantile(sorted, 0.9);
        result.semitoneSD = oneDecimal(*sd);
        result.p10 = oneDecimal(low);
        result.p90 = oneDecimal(high);
        result.rangeSemitones = oneDecimal(high - low);
    }
    result.windows = windows(kept.times, values, duration);
    result.flattest = flattestOf(result.windows, segments, kept.times, values);
    return result;
}

std::vector<PitchStats::Window> windows(const std::vector<double>& times, const std::vector<double>& values,
                                        double duration) {
    std::vector<PitchStats::Window> curve;
    double start = 0;
    while (start < duration - shortestRest) {
        const double end = std::min(start + PitchStats::windowSeconds, duration);
        const auto inside = valuesBetween(times, values, start, end);
        const double voiced = static_cast<double>(inside.size()) * hopSeconds;
        PitchStats::Window window{oneDecimal(start), oneDecimal(end), oneDecimal(voiced), std::nullopt};
        if (voiced >= PitchStats::minWindowVoicedSeconds) {
            const auto sd = standardDeviation(inside);
            window.semitoneSD = sd ? std::optional(oneDecimal(*sd)) : std::nullopt;
        }
        curve.push_back(window);
        start = end;
    }
    return curve;
}

std::optional<std::pair<QString, double>> sentence(const PitchStats::Window& window,
                                                   const std::vector<Segment>& segments,
                                                   const std::vector<double>& times,
                                                   const std::vector<double>& values) {
    const Segment* flattest = nullptr;
    const Segment* longest = nullptr;
    double lowestSD = 0;
    double longestOverlap = 0;
    for (const Segment& segment : segments) {
        if (!(window.start < segment.end && segment.start < window.end)) {
            continue;
        }
        const double from = std::max(segment.start, window.start);
        const double to = std::min(segment.end, window.end);
        if (longest == nullptr || to - from > longestOverlap) {
            longest = &segment;
            longestOverlap = to - from;
        }
        const auto inside = valuesBetween(times, values, from, to);
        if (static_cast<double>(inside.size()) * hopSeconds < PitchStats::minSentenceVoicedSeconds) {
            continue;
        }
        const auto sd = standardDeviation(inside);
        if (sd && (flattest == nullptr || *sd < lowestSD)) {
            flattest = &segment;
            lowestSD = *sd;
        }
    }
    const Segment* chosen = flattest != nullptr ? flattest : longest;
    if (chosen == nullptr) {
        return std::nullopt;
    }
    QString text = onOneLine(chosen->text);
    if (text.isEmpty()) {
        return std::nullopt;
    }
    if (base::Text::characterCount(text) > PitchStats::maxSentenceLength) {
        text = base::Text::prefix(text, PitchStats::maxSentenceLength) + u"…"_s;
    }
    return std::pair(std::move(text), chosen->start);
}

} // namespace practice::PitchAnalyzer
