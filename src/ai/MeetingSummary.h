// The summary of a meeting, as summary.json holds it, and the views of it that a page shows.
//   Errors   the file may be of any earlier format or edited by hand: everything in it is optional, and only a file
//   that
//            is no JSON object fails
//   Threads  any; a plain value. The user's own name is asked for anew at each use
#pragma once

#include "copy/MainCopy.h"

#include <QByteArrayView>
#include <QDateTime>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <vector>

namespace ai {

struct MeetingSummary {
    struct Point {
        std::optional<QString> title; ///< the topic
        QStringList items;
        bool operator==(const Point&) const = default;
    };

    struct Action {
        std::optional<QString> who; ///< name of a person
        QString what;
        std::optional<QString> due; ///< a deadline in any words
        bool mine = false;          ///< the user's own task
        bool operator==(const Action&) const = default;
    };

    struct ActionGroup {
        std::optional<QString> who;
        bool mine = false;
        std::vector<Action> actions;
        bool operator==(const ActionGroup&) const = default;
    };

    /// Bytes that are read at most.
    static constexpr std::int64_t sizeLimit = 8LL * 1024 * 1024;

    std::int64_t version = 1;
    std::optional<QDateTime> generatedAt;
    std::optional<QString> conclusion;
    QStringList decisions;
    std::vector<Action> actions;
    std::vector<Point> points;
    QStringList notes;                              ///< things to watch
    std::optional<QString> source;                  ///< who made the file; "claude" for what this program writes
    std::optional<QDateTime> transcriptGeneratedAt; ///< of the transcript it was made from
    bool notesIncluded = false;                     ///< the user's notes took part in it
    bool operator==(const MeetingSummary&) const = default;

    /// nullopt if the bytes are no JSON object, or more than `sizeLimit`.
    [[nodiscard]] static std::optional<MeetingSummary> parse(QByteArrayView bytes);

    [[nodiscard]] static QString ownName();
    [[nodiscard]] static bool isOwnName(const std::optional<QString>& who);

    [[nodiscard]] QStringList pointTexts() const;
    [[nodiscard]] std::vector<Action> mineActions() const;
    [[nodiscard]] std::vector<Action> otherActions() const;
    [[nodiscard]] std::optional<ActionGroup> mineGroup() const;
    /// The others' actions by person, in the order of each person's first one. A name counts in any letter case.
    [[nodiscard]] std::vector<ActionGroup> otherGroups() const;
    [[nodiscard]] std::vector<ActionGroup> actionGroups() const; ///< the user's own first
    [[nodiscard]] std::vector<Action> orderedActions() const;    ///< those of actionGroups, one after the other

    [[nodiscard]] static QString pointLine(const Point& point);
    [[nodiscard]] static QString dueText(const QString& due, const copy::MainCopy& copy);
    /// What the copy button gives.
    [[nodiscard]] QString plainText(const copy::MainCopy& copy) const;
};

} // namespace ai
