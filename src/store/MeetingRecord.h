// A meeting as the library shows it, read from its folder with every tolerance.
//   Threads  any; a plain value. matches and the expiry rules touch the disk only where they say so
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <filesystem>
#include <optional>

namespace store {

struct MeetingRecord {
    std::filesystem::path folder{};
    bool hasMeta = false;             ///< meta.json was read as a JSON object; without it nothing can be edited
    std::optional<QDateTime> start{}; ///< from meta.json, else from the folder's name; in UTC
    std::optional<double> duration{}; ///< seconds
    std::optional<QString> type{};
    QStringList people{};
    std::optional<QString> note{}; ///< trimmed, never empty
    bool screenshotsEnabled = true;
    bool practice = false;
    bool operator==(const MeetingRecord&) const = default;

    /// The note, or copy::Strings::untitled.
    [[nodiscard]] QString title() const;

    [[nodiscard]] std::filesystem::path micURL() const { return folder / "mic.m4a"; }

    [[nodiscard]] std::filesystem::path systemURL() const { return folder / "system.m4a"; }

    [[nodiscard]] std::filesystem::path notesURL() const { return folder / "notes.md"; }

    [[nodiscard]] std::filesystem::path metaURL() const { return folder / "meta.json"; }

    [[nodiscard]] std::filesystem::path shotsURL() const { return folder / "shots"; }

    [[nodiscard]] std::filesystem::path transcriptURL() const { return folder / "transcript.json"; }

    [[nodiscard]] std::filesystem::path summaryURL() const { return folder / "summary.json"; }

    [[nodiscard]] std::filesystem::path coachURL() const { return folder / "coach.json"; }

    /// Whether every word of the query stands in the title, the note or the people, case and accents ignored. A query
    /// without words matches everything.
    [[nodiscard]] bool matches(QStringView query) const;
    /// Whether the time of the audio is over, measured from the start.
    [[nodiscard]] bool audioExpired(const QDateTime& now) const;
    /// Whether there were screenshots whose time is over: the folder is gone too. Looks at the disk.
    [[nodiscard]] bool shotsExpired(const QDateTime& now) const;
};

} // namespace store
