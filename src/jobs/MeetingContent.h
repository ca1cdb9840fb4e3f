// What a meeting holds, as the interface reads and searches it.
//   States   the readers tell None, Broken and Ready apart (store/ContentState.h) and never fail upwards
//   Search   each word of a query is looked for as a plain part of the text, case and accents ignored
//   Units    ranges in UTF-16 units, radius in characters, times in seconds from the start of the recording
//   Threads  any. matches, snippet and cut touch no file
#pragma once

#include "ai/MeetingContent.h"
#include "base/TextSearch.h"
#include "practice/PracticeCoach.h"
#include "store/MeetingRecord.h"

#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>
#include <vector>

namespace jobs::MeetingContent {

using ai::MeetingContent::summary;
using ai::MeetingContent::transcript;
using practice::MeetingContent::coach;

/// Whether the summary was made from another transcript than this one. A missing date proves nothing.
[[nodiscard]] bool isStale(const ai::MeetingSummary& summary, const std::optional<ai::Transcript>& transcript);

/// Everything of a meeting that a search looks through beside its record.
class SearchText {
public:
    using Segments = std::vector<ai::Transcript::Segment>;

    SearchText() : SearchText({}, {}, {}) {}

    SearchText(QString notes, QString summary, Segments transcript);

    [[nodiscard]] const QString& notes() const { return m_notes; }

    /// Plain text of the summary, or of the advice on a practice take; empty if there is none.
    [[nodiscard]] const QString& summary() const { return m_summary; }

    [[nodiscard]] const Segments& transcript() const { return m_transcript; }

    /// Notes, summary and the texts of all segments, one a line.
    [[nodiscard]] const QString& haystack() const { return m_haystack; }

    /// The same in the form in which words are looked for (base::TextSearch::folded).
    [[nodiscard]] const QString& foldedHaystack() const { return m_foldedHaystack; }

    bool operator==(const SearchText&) const = default;

private:
    QString m_notes;
    QString m_summary;
    Segments m_transcript;
    QString m_haystack;
    QString m_foldedHaystack;
};

/// Reads the files of the meeting. What is missing or not understood is empty.
[[nodiscard]] SearchText searchText(const store::MeetingRecord& record);

/// The summary of a meeting, or the advice on a practice take, as plain text; empty if there is none.
[[nodiscard]] QString summaryText(const store::MeetingRecord& record);

/// Part of a text around a hit.
struct Snippet {
    QString text;
    base::TextSearch::Range hit; ///< where the word stands in `text`
    std::optional<double> time;  ///< start of the segment; none for notes and summary
    bool operator==(const Snippet&) const = default;
};

/// Characters of context on each side of a hit.
inline constexpr int snippetRadius = 20;

/// The words of a query: what white space parts.
[[nodiscard]] QStringList words(QStringView query);
/// Whether every word stands somewhere in the title, note or people of the record or in `text`; true without words.
[[nodiscard]] bool matches(const store::MeetingRecord& record, QStringView query, const SearchText* text);
/// The first hit that the record's own fields don't show already.
[[nodiscard]] std::optional<Snippet> snippet(const store::MeetingRecord& record, QStringView query,
                                             const SearchText* text, int radius = snippetRadius);

struct Cut {
    QString text;
    base::TextSearch::Range hit;
    bool operator==(const Cut&) const = default;
};

/// The first hit with `radius` characters on either side, on one line. nullopt if there is none.
[[nodiscard]] std::optional<Cut> cut(QStringView text, QStringView word, int radius);

/// What a search looks through of the record itself: title, note and people, one a line.
[[nodiscard]] QString ownText(const store::MeetingRecord& record);

} // namespace jobs::MeetingContent
