// The transcript of a meeting, as transcript.json holds it.
//   Units    seconds from the start of the recording
//   Speakers "me" for the microphone, "them" for the system's sound
//   Errors   a hand-edited file loses what makes no sense, segment by segment; only the shape as a whole can fail
//   Threads  any; a plain value
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QDateTime>
#include <QString>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ai {

struct Transcript {
    struct Segment {
        double start = 0;
        double end = 0; ///< never before `start`
        QString speaker;
        QString text; ///< trimmed, never empty in a file
        bool operator==(const Segment&) const = default;
    };

    static inline const QString me = QStringLiteral("me");
    static inline const QString them = QStringLiteral("them");
    /// A pause up to this long does not separate what one speaker says. Seconds.
    static constexpr double mergeGap = 3.0;
    /// Bytes that are read at most.
    static constexpr std::int64_t sizeLimit = 32LL * 1024 * 1024;

    std::optional<QString> language;
    std::optional<QDateTime> generatedAt; ///< by this moment later files remember which transcript they were made from
    std::vector<Segment> segments;        ///< ordered by start
    bool operator==(const Transcript&) const = default;

    /// nullopt if the bytes are no JSON object with an array at "segments", or more than `sizeLimit`.
    [[nodiscard]] static std::optional<Transcript> parse(QByteArrayView bytes);

    /// Segments of one speaker that follow each other within `gap` seconds, as one. Latin texts are joined by a blank,
    /// others as they stand.
    [[nodiscard]] static std::vector<Segment> merged(std::span<const Segment> segments, double gap = mergeGap);

    [[nodiscard]] std::vector<Segment> merged(double gap = mergeGap) const { return merged(segments, gap); }

    /// The texts alone, one a line.
    [[nodiscard]] QString plainText() const;

    /// The bytes of transcript.json; `generatedAt` is a timestamp text. Times are rounded to hundredths.
    [[nodiscard]] static QByteArray fileBytes(std::span<const Segment> segments, const std::optional<QString>& language,
                                              const QString& generatedAt);
};

} // namespace ai
