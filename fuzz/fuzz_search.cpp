// Texts and words of any UTF-16: what is found, where it is shown, and what the index says, beside plain forms of the
// same rules. The first unit is the radius, the second the length of the word.
#include "Require.h"
#include "base/TextSearch.h"
#include "jobs/MeetingContent.h"
#include "jobs/SearchIndex.h"

#include <QList>
#include <QTextBoundaryFinder>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

namespace TextSearch = base::TextSearch;

/// The rule applied to the whole text at once.
QString plainlyFolded(const QString& text) {
    QString kept;
    for (const char32_t scalar : text.normalized(QString::NormalizationForm_D).toUcs4()) {
        if (QChar::combiningClass(scalar) == 0) {
            kept += QChar::fromUcs4(scalar);
        }
    }
    QString folded;
    for (const char32_t scalar : kept.normalized(QString::NormalizationForm_C).toCaseFolded().toUcs4()) {
        QString letter;
        letter += QChar::fromUcs4(scalar);
        const QString capitals = letter.toUpper();
        folded += capitals.size() > letter.size() ? capitals.toCaseFolded() : letter;
    }
    return folded;
}

QList<qsizetype> boundariesOf(const QString& text) {
    QList<qsizetype> boundaries{0};
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    while (finder.toNextBoundary() >= 0) {
        boundaries.append(finder.position());
    }
    return boundaries;
}

void checkCut(const QString& text, const QString& word, int radius) {
    const auto range = TextSearch::find(text, word);
    const auto cut = jobs::MeetingContent::cut(text, word, radius);
    const QString wanted = plainlyFolded(word);
    require(range.has_value() == (!wanted.isEmpty() && plainlyFolded(text).contains(wanted)));
    require(cut.has_value() == range.has_value());
    if (!range) {
        return;
    }
    const auto boundaries = boundariesOf(text);
    const auto from = boundaries.indexOf(range->location);
    const auto to = boundaries.indexOf(range->location + range->length);
    require(from >= 0 && to > from);
    const auto lower = boundaries[std::max<qsizetype>(from - radius, 0)];
    const auto upper = boundaries[std::min<qsizetype>(to + radius, boundaries.size() - 1)];
    QString expected = text.mid(lower, upper - lower).replace(u'\n', u' ');
    expected = (lower > 0 ? QStringLiteral("…") : QString()) + expected +
               (upper < text.size() ? QStringLiteral("…") : QString());
    require(cut->text == expected);
    require(cut->hit.length == range->length);
    require(cut->text.mid(cut->hit.location, cut->hit.length) ==
            text.mid(range->location, range->length).replace(u'\n', u' '));
}

void checkIndex(const QString& text, const QString& query) {
    jobs::SearchIndex index;
    std::vector<jobs::SearchIndex::Text> texts;
    const auto folded = plainlyFolded(text);
    for (const QString& part : folded.split(u'|')) {
        jobs::FoldedMeeting meeting;
        meeting.text = part.toStdString();
        texts.push_back(std::make_shared<const jobs::FoldedMeeting>(std::move(meeting)));
        index.put("/" + std::to_string(texts.size() - 1), texts.back());
    }
    if (auto next = index.nextBlock(0); !next.empty()) {
        index.adopt(std::make_shared<jobs::SearchBlock>(std::move(next)));
    }
    for (qsizetype typed = 1; typed <= query.size(); ++typed) {
        const auto words = jobs::FoldedMeeting::words(QStringView(query).first(typed));
        const auto found = index.matches(QStringView(query).first(typed));
        for (std::size_t i = 0; i < texts.size(); ++i) {
            require(found.has(index.placeOf("/" + std::to_string(i)).value()) == texts[i]->matches(words));
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    QString input(static_cast<qsizetype>(size / 2), Qt::Uninitialized);
    std::memcpy(input.data(), data, static_cast<std::size_t>(input.size()) * 2);
    if (input.size() < 2 || input.size() > 2'000) {
        return 0;
    }
    const int radius = input[0].unicode() % 30;
    const QString word = input.mid(2, input[1].unicode() % 12);
    const QString text = input.mid(2 + word.size());
    checkCut(text, word, radius);
    checkCut(text, text.mid(text.size() / 2, word.size()), radius);
    checkIndex(text, word);
    checkIndex(text, text.mid(text.size() / 2, 8));
    return 0;
}
