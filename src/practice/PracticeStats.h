// The numbers of a practice that come from its transcript alone: pace, pauses, filler words.
//   Units    seconds and rates per minute; a Chinese, Japanese or Korean character counts as one word, and so does a
//            run of other letters and digits
//   Threads  any; a plain value and functions without state
//   Errors   none: no words give zeros, and what is damaged in a file reads as its default
#pragma once

#include "ai/Transcript.h"
#include "base/Json.h"
#include "practice/PitchStats.h"

#include <QDateTime>
#include <QString>
#include <QTimeZone>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace practice {

struct PracticeStats {
    /// A gap this long is a long pause.
    static constexpr double longPauseSeconds = 2.0;
    static constexpr std::array<QStringView, 9> englishFillers{
        u"um", u"uh", u"erm", u"you know", u"kind of", u"sort of", u"basically", u"actually", u"I mean"};
    static constexpr std::array<QStringView, 5> chineseFillers{u"嗯", u"呃", u"那個", u"就是", u"然後"};

    struct Filler {
        QString word;
        std::int64_t count = 0;
        bool operator==(const Filler&) const = default;
    };

    /// The practice before this one.
    struct Previous {
        QString folder; ///< its name
        std::optional<QDateTime> start;
        std::int64_t wordsPerMinute = 0;
        double fillersPerMinute = 0;
        std::int64_t longPauses = 0;
        std::optional<double> pitchSemitoneSD;
        bool operator==(const Previous&) const = default;
    };

    double spokenSeconds = 0; ///< one decimal, like every other double here
    std::int64_t words = 0;
    std::int64_t wordsPerMinute = 0;
    std::int64_t firstHalfWordsPerMinute = 0;
    std::int64_t secondHalfWordsPerMinute = 0;
    std::int64_t longPauses = 0;
    std::optional<double> longestPauseSeconds;
    std::optional<double> longestPauseAt; ///< where it began
    std::vector<Filler> fillers;          ///< those that occurred, in the order of the tables
    std::int64_t fillerCount = 0;
    double fillersPerMinute = 0;
    std::optional<PitchStats> pitch; ///< never set by compute
    std::optional<Previous> previous;

    bool operator==(const PracticeStats&) const = default;

    /// Segments in any order; they may overlap, be empty or run backwards.
    [[nodiscard]] static PracticeStats compute(const std::vector<ai::Transcript::Segment>& segments,
                                               std::optional<Previous> previous);
    [[nodiscard]] static std::int64_t countWords(const QString& text);
    /// One per row of the tables, zeros included, English first.
    [[nodiscard]] static std::vector<Filler> fillerCounts(const QString& text);

    /// "um 3、那個 1"
    [[nodiscard]] QString fillerList() const;

    /// This minus the previous one; nullopt without a previous one.
    [[nodiscard]] std::optional<std::int64_t> wordsPerMinuteChange() const;
    [[nodiscard]] std::optional<double> fillersPerMinuteChange() const;
    [[nodiscard]] std::optional<std::int64_t> longPausesChange() const;
    /// Only where both voices were heard for long enough.
    [[nodiscard]] std::optional<double> pitchChange() const;

    /// `zone` is the one that the stamp of the previous practice is written in.
    [[nodiscard]] base::Json json(const QTimeZone& zone) const;
    /// nullopt only for what is no map.
    [[nodiscard]] static std::optional<PracticeStats> parse(const base::Json& value);
};

} // namespace practice
