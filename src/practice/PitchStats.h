// The pitch numbers of a practice, as they are shown and stored.
//   Units    Hz, semitones, seconds; every number has one decimal
//   Threads  any; a plain value
#pragma once

#include "base/Json.h"

#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace practice {

struct PitchStats {
    static constexpr double flatBelow = 2.0;         ///< semitones
    static constexpr double livelyFrom = 3.0;        ///< semitones
    static constexpr double minVoicedSeconds = 10.0; ///< below it nothing is rated
    static constexpr double windowSeconds = 30.0;
    static constexpr double minWindowVoicedSeconds = 5.0;
    static constexpr double minSentenceVoicedSeconds = 1.5;
    static constexpr int maxSentenceLength = 80; ///< characters

    enum class Level { Lively, Normal, Flat };

    struct Window {
        double start = 0;
        double end = 0;
        double voicedSeconds = 0;
        std::optional<double> semitoneSD;
        bool operator==(const Window&) const = default;
    };

    struct Flattest {
        double start = 0;
        double end = 0;
        double semitoneSD = 0;
        std::optional<QString> sentence;
        std::optional<double> sentenceStart;
        bool operator==(const Flattest&) const = default;
    };

    double voicedSeconds = 0;
    std::optional<double> medianHz;
    std::optional<double> semitoneSD;
    std::optional<double> p10; ///< relative to the median
    std::optional<double> p90;
    std::optional<double> rangeSemitones;
    std::vector<Window> windows;
    std::optional<Flattest> flattest;
    std::int64_t octaveFramesDropped = 0;

    bool operator==(const PitchStats&) const = default;

    /// Whether there was enough voice to rate it.
    [[nodiscard]] bool enough() const;
    [[nodiscard]] std::optional<Level> level() const;
    [[nodiscard]] static Level level(double sd);
    /// The rating in the words of the interface.
    [[nodiscard]] QString levelText() const;

    [[nodiscard]] base::Json json() const;
    /// nullopt only for what is no map; what is missing or of another type inside it reads as absent.
    [[nodiscard]] static std::optional<PitchStats> parse(const base::Json& value);
};

/// "lively", "normal", "flat".
[[nodiscard]] QString levelName(PitchStats::Level level);
[[nodiscard]] std::optional<PitchStats::Level> levelNamed(QStringView name);
/// The words of the interface for a level.
[[nodiscard]] QString levelText(PitchStats::Level level);

} // namespace practice
