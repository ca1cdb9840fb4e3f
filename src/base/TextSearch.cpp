#include "base/TextSearch.h"

#include <QList>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <vector>

namespace base::TextSearch {

namespace {

bool isPlain(QStringView text) {
    return std::ranges::all_of(text, [](QChar c) { return c.unicode() < 0x80; });
}

QString withoutMarks(const QString& decomposed) {
    QString kept;
    kept.reserve(decomposed.size());
    for (const char32_t scalar : decomposed.toUcs4()) {
        if (QChar::combiningClass(scalar) == 0) {
            kept += QChar::fromUcs4(scalar);
        }
    }
    return kept;
}

} // namespace

QString folded(QStringView text) {
    if (isPlain(text)) {
        return text.toString().toLower();
    }
    const QString decomposed = text.toString().normalized(QString::NormalizationForm_D);
    // Composed again, a Korean syllable is not found by its first letters.
    return withoutMarks(decomposed).normalized(QString::NormalizationForm_C).toCaseFolded();
}

std::optional<Range> find(QStringView text, QStringView word) {
    const QString wanted = folded(word);
    if (wanted.isEmpty()) {
        return std::nullopt;
    }
    // Folded character by character, each unit remembers the character that it comes from.
    QString searched;
    std::vector<Range> origins;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    for (qsizetype from = 0, to = finder.toNextBoundary(); to >= 0; from = to, to = finder.toNextBoundary()) {
        searched += folded(text.sliced(from, to - from));
        origins.resize(static_cast<std::size_t>(searched.size()), {from, to - from});
    }
    const qsizetype at = searched.indexOf(wanted);
    if (at < 0) {
        return std::nullopt;
    }
    const Range& first = origins.at(static_cast<std::size_t>(at));
    const Range& last = origins.at(static_cast<std::size_t>(at + wanted.size() - 1));
    return Range{first.location, last.location + last.length - first.location};
}

bool contains(QStringView text, QStringView word) {
    const QString wanted = folded(word);
    return !wanted.isEmpty() && folded(text).contains(wanted);
}

} // namespace base::TextSearch
