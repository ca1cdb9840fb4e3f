// The record of one meeting, as meta.json holds it.
//   Shape    the eight fields under their own names; "end", "type" and "note" are null when empty, "mode" is left out
//   Threads  any; a plain value
#pragma once

#include "base/Files.h"
#include "store/MeetingAnswers.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QTimeZone>

#include <expected>
#include <optional>

namespace store {

struct MeetingMeta {
    /// The mode of a practice take; a meeting has none.
    static inline const QString practiceMode = QStringLiteral("practice");

    QString start;               ///< a timestamp
    std::optional<QString> end;  ///< a timestamp; empty while recording
    double duration = 0;         ///< seconds, to a tenth; 0 while recording
    std::optional<QString> type; ///< name of a meeting type
    QStringList people;
    std::optional<QString> note; ///< trimmed, never empty
    bool screenshotsEnabled = false;
    std::optional<QString> mode;
    bool operator==(const MeetingMeta&) const = default;

    /// "2025-03-07T09:30:12+08:00"; see Timestamp.
    [[nodiscard]] static QString timestamp(const QDateTime& date,
                                           const QTimeZone& timeZone = QTimeZone::systemTimeZone());
    /// The record of a recording that has begun.
    [[nodiscard]] static MeetingMeta started(const QDateTime& start, bool screenshotsEnabled,
                                             const std::optional<QString>& mode,
                                             const QTimeZone& timeZone = QTimeZone::systemTimeZone());
    /// The record of a recording that has ended. The duration is rounded to a tenth; the note is trimmed, and an empty
    /// one is none.
    [[nodiscard]] static MeetingMeta make(const QDateTime& start, const QDateTime& end, double duration,
                                          const std::optional<MeetingAnswers>& answers, bool screenshotsEnabled,
                                          const std::optional<QString>& mode,
                                          const QTimeZone& timeZone = QTimeZone::systemTimeZone());

    /// The file's bytes. A duration that is no finite number has no place in JSON and is an error.
    [[nodiscard]] std::expected<QByteArray, base::FileError> data() const;
    /// The strict reader: "start", "duration", "people" and "screenshotsEnabled" must be there, every key with its
    /// type; nullopt otherwise. Unknown keys are ignored.
    [[nodiscard]] static std::optional<MeetingMeta> decode(QByteArrayView bytes);
};

} // namespace store
