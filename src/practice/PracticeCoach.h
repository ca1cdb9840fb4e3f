// The advice on a practice take, as coach.json holds it.
//   Errors   as lenient as a summary: everything in the file is optional, only what is no JSON object fails
//   Threads  any; plain values
#pragma once

#include "ai/MeetingContent.h"
#include "practice/PracticeStats.h"
#include "store/ContentState.h"
#include "store/MeetingRecord.h"

#include <QByteArrayView>
#include <QDateTime>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <vector>

namespace practice {

struct PracticeCoach {
    /// A point of the user's outline.
    struct Coverage {
        QString point;
        bool covered = false;
        std::optional<QString> note;
        bool operator==(const Coverage&) const = default;
    };

    /// A sentence of the user's, put better.
    struct Rewrite {
        QString before;
        QString after;
        std::optional<QString> why;
        bool operator==(const Rewrite&) const = default;
    };

    /// Bytes that are read at most.
    static constexpr std::int64_t sizeLimit = 8LL * 1024 * 1024;

    std::int64_t version = 1;
    std::optional<QDateTime> generatedAt;
    std::optional<QString> source;
    std::optional<QDateTime> transcriptGeneratedAt;
    std::optional<QString> verdict; ///< the whole in one sentence
    std::optional<QString> focus;   ///< the one thing to practise next
    std::optional<QString> focusHow;
    QStringList wentWell;
    std::vector<Coverage> coverage;
    std::vector<Rewrite> rewrites;
    QStringList delivery;               ///< observations with numbers
    std::optional<PracticeStats> stats; ///< the numbers that the advice was given from
    bool notesIncluded = false;
    bool operator==(const PracticeCoach&) const = default;

    [[nodiscard]] static std::optional<PracticeCoach> parse(QByteArrayView bytes);
    /// Its texts, one a line, for search.
    [[nodiscard]] QString plainText() const;
};

namespace MeetingContent {

[[nodiscard]] inline store::ContentState<PracticeCoach> coach(const store::MeetingRecord& record) {
    return ai::MeetingContent::read<PracticeCoach>(record.coachURL());
}

} // namespace MeetingContent
} // namespace practice
