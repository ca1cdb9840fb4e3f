#include "practice/PracticeStats.h"

#include <QRegularExpression>
#include <QStringList>

#include <utility>

namespace practice {

using namespace Qt::StringLiterals;

namespace {

/// Words that are drawn out in speech: their last letter may repeat.
bool stretches(QStringView word) {
    return word == u"um" || word == u"uh" || word == u"erm";
}

QRegularExpression patternOf(QStringView word) {
    QStringList pieces;
    for (const QStringView piece : word.split(u' ')) {
        pieces.append(QRegularExpression::escape(piece));
    }
    QString body = pieces.join(u"\\s+"_s);
    if (stretches(word)) {
        body += u'+';
    }
    // An apostrophe is part of a word: "um's" is another word than "um".
    const QString edge = u"[A-Za-z0-9'’]"_s;
    const QString pattern = u"(?<!"_s + edge + u")"_s + body + u"(?!"_s + edge + u")"_s;
    return QRegularExpression(pattern, QRegularExpression::CaseInsensitiveOption |
                                           QRegularExpression::UseUnicodePropertiesOption);
}

using Patterns = std::vector<std::pair<QString, QRegularExpression>>;

const Patterns& englishPatterns() {
    static const Patterns patterns = [] {
        Patterns compiled;
        for (const QStringView word : PracticeStats::englishFillers) {
            if (QRegularExpression pattern = patternOf(word); pattern.isValid()) {
                pattern.optimize();
                compiled.emplace_back(word.toString(), std::move(pattern));
            }
        }
        return compiled;
    }();
    return patterns;
}

std::int64_t matches(const QRegularExpression& pattern, const QString& text) {
    std::int64_t count = 0;
    for (auto found = pattern.globalMatch(text); found.hasNext(); found.next()) {
        ++count;
    }
    return count;
}

} // namespace

std::vector<PracticeStats::Filler> PracticeStats::fillerCounts(const QString& text) {
    std::vector<Filler> counts;
    for (const auto& [word, pattern] : englishPatterns()) {
        counts.push_back({word, matches(pattern, text)});
    }
    for (const QStringView word : chineseFillers) {
        // Chinese has no word boundaries to test, so a hit inside a longer expression counts as well.
        std::int64_t count = 0;
        for (qsizetype at = text.indexOf(word); at >= 0; at = text.indexOf(word, at + word.size())) {
            ++count;
        }
        counts.push_back({word.toString(), count});
    }
    return counts;
}

} // namespace practice
