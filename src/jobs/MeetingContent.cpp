#include "jobs/MeetingContent.h"

#include "copy/MainCopy.h"
#include "store/MeetingLibrary.h"

#include <QTextBoundaryFinder>

#include <algorithm>
#include <cmath>
#include <utility>

namespace jobs::MeetingContent {

using namespace Qt::StringLiterals;
namespace TextSearch = base::TextSearch;

namespace {

/// Dates are stored in whole seconds, and what was rounded must not count as changed. Milliseconds.
constexpr qint64 staleFrom = 1000;

QString haystackOf(const QString& notes, const QString& summary, const SearchText::Segments& transcript) {
    QStringList lines;
    lines.reserve(static_cast<qsizetype>(transcript.size()));
    for (const auto& segment : transcript) {
        lines.append(segment.text);
    }
    return notes + u'\n' + summary + u'\n' + lines.join(u'\n');
}

/// `position` moved by up to `count` characters, no further than the text goes.
template<typename Step>
qsizetype moved(QStringView text, qsizetype position, int count, Step step) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    finder.setPosition(position);
    for (int i = 0; i < count; ++i) {
        if ((finder.*step)() < 0) {
            break;
        }
        position = finder.position();
    }
    return position;
}

QString onOneLine(QStringView text) {
    return text.toString().replace(u'\n', u' ');
}

std::optional<Snippet> snippetFrom(QStringView text, const QString& word, int radius, std::optional<double> time) {
    auto found = cut(text, word, radius);
    return found ? std::optional(Snippet{std::move(found->text), found->hit, time}) : std::nullopt;
}

std::optional<Snippet> snippetOf(const SearchText& text, const QString& word, int radius) {
    for (const auto& segment : text.transcript()) {
        if (auto found = snippetFrom(segment.text, word, radius, segment.start)) {
            return found;
        }
    }
    auto found = snippetFrom(text.notes(), word, radius, std::nullopt);
    return found ? found : snippetFrom(text.summary(), word, radius, std::nullopt);
}

} // namespace

bool isStale(const ai::MeetingSummary& summary, const std::optional<ai::Transcript>& transcript) {
    if (!summary.transcriptGeneratedAt || !transcript || !transcript->generatedAt) {
        return false;
    }
    return std::abs(summary.transcriptGeneratedAt->msecsTo(*transcript->generatedAt)) >= staleFrom;
}

SearchText::SearchText(QString notes, QString summary, Segments transcript)
    : m_notes(std::move(notes))
    , m_summary(std::move(summary))
    , m_transcript(std::move(transcript))
    , m_haystack(haystackOf(m_notes, m_summary, m_transcript))
    , m_foldedHaystack(TextSearch::folded(m_haystack)) {}

QString summaryText(const store::MeetingRecord& record) {
    if (record.practice) {
        const auto advice = coach(record);
        return advice.isReady() ? advice.value()->plainText() : QString();
    }
    const auto found = summary(record);
    return found.isReady() ? found.value()->plainText(copy::MainCopy::current()) : QString();
}

SearchText searchText(const store::MeetingRecord& record) {
    const auto spoken = transcript(record);
    return {store::MeetingLibrary::readNotes(record), summaryText(record),
            spoken.isReady() ? spoken.value()->segments : SearchText::Segments{}};
}

QStringList words(QStringView query) {
    return TextSearch::words(query);
}

QString ownText(const store::MeetingRecord& record) {
    return (QStringList{record.title(), record.note.value_or(QString())} + record.people).join(u'\n');
}

bool matches(const store::MeetingRecord& record, QStringView query, const SearchText* text) {
    const QString own = TextSearch::folded(ownText(record));
    return std::ranges::all_of(words(query), [&](const QString& word) {
        const QString wanted = TextSearch::folded(word);
        return !wanted.isEmpty() &&
               (own.contains(wanted) || (text != nullptr && text->foldedHaystack().contains(wanted)));
    });
}

std::optional<Snippet> snippet(const store::MeetingRecord& record, QStringView query, const SearchText* text,
                               int radius) {
    if (text == nullptr) {
        return std::nullopt;
    }
    const QString own = ownText(record);
    for (const QString& word : words(query)) {
        if (TextSearch::contains(own, word)) {
            continue; // the row shows it
        }
        if (auto found = snippetOf(*text, word, radius)) {
            return found;
        }
    }
    return std::nullopt;
}

std::optional<Cut> cut(QStringView text, QStringView word, int radius) {
    const auto hit = TextSearch::find(text, word);
    if (!hit) {
        return std::nullopt;
    }
    const qsizetype end = hit->location + hit->length;
    const qsizetype lower = moved(text, hit->location, radius, &QTextBoundaryFinder::toPreviousBoundary);
    const qsizetype upper = moved(text, end, radius, &QTextBoundaryFinder::toNextBoundary);
    QString excerpt = lower > 0 ? u"…"_s : QString();
    const qsizetype shift = excerpt.size() - lower;
    excerpt += onOneLine(text.sliced(lower, upper - lower));
    if (upper < text.size()) {
        excerpt += u'…';
    }
    return Cut{std::move(excerpt), {hit->location + shift, hit->length}};
}

} // namespace jobs::MeetingContent
