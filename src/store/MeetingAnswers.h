// What the form after a recording was answered with.
//   Threads  any; a plain value
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace store {

struct MeetingAnswers {
    std::optional<QString> type; ///< the name of a meeting type; nullopt: uncategorised
    QStringList people;          ///< the names ticked, in the order of the form
    QString note;                ///< one sentence on the meeting, as typed; may be empty
    bool operator==(const MeetingAnswers&) const = default;
};

} // namespace store
