#include "ai/Gestalt.h"
#include "ai/TranscriptCleaner.h"
#include "base/Text.h"

#include <QTextBoundaryFinder>

#include <algorithm>
#include <array>
#include <utility>

namespace ai::TranscriptCleaner {

namespace {

constexpr std::array<std::pair<char32_t, char32_t>, 6> cjkRanges{{
    {0x3040, 0x30FF},   // kana
    {0x3400, 0x4DBF},   // ideographs, extension A
    {0x4E00, 0x9FFF},   // ideographs
    {0xAC00, 0xD7AF},   // Hangul syllables
    {0xF900, 0xFAFF},   // compatibility ideographs
    {0x20000, 0x2FA1F}, // ideographs, extensions B and on
}};

bool isCJKScalar(char32_t scalar) {
    return std::ranges::any_of(cjkRanges,
                               [scalar](const auto& range) { return scalar >= range.first && scalar <= range.second; });
}

bool isPunctuationOrSymbol(char32_t scalar) {
    return QChar::isPunct(scalar) || QChar::isSymbol(scalar);
}

/// The scalars of a text one after the other; a lone surrogate is one of its own.
template<typename Visit>
void forEachScalar(QStringView text, Visit visit) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar unit = text.at(i);
        if (unit.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            visit(QChar::surrogateToUcs4(unit, text.at(i + 1)));
            ++i;
        } else {
            visit(static_cast<char32_t>(unit.unicode()));
        }
    }
}

template<typename Visit>
void forEachCharacter(const QString& text, Visit visit) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype from = 0;
    for (qsizetype to = finder.toNextBoundary(); to >= 0; from = to, to = finder.toNextBoundary()) {
        visit(QStringView(text).sliced(from, to - from));
    }
}

bool isWhitespace(QStringView character) {
    return base::Text::isWhitespaceOrNewline(character.front().unicode());
}

/// Equal texts are equal however their marks are composed.
std::vector<QString> composed(const QStringList& items) {
    std::vector<QString> result;
    for (const QString& item : items) {
        result.push_back(item.normalized(QString::NormalizationForm_C));
    }
    return result;
}

} // namespace

bool isCJK(QStringView text) {
    bool found = false;
    forEachScalar(text, [&found](char32_t scalar) { found = found || isCJKScalar(scalar); });
    return found;
}

QString normalize(const QString& text) {
    QString spaced;
    forEachScalar(text.toLower(), [&spaced](char32_t scalar) {
        if (isPunctuationOrSymbol(scalar)) {
            spaced += u' ';
        } else {
            spaced += QChar::fromUcs4(scalar);
        }
    });
    return spaced.split(u' ', Qt::SkipEmptyParts).join(u' ');
}

QStringList tokens(const QString& text) {
    QStringList result;
    QString word;
    const auto endWord = [&] {
        if (!word.isEmpty()) {
            result.append(std::exchange(word, QString()));
        }
    };
    forEachCharacter(normalize(text), [&](QStringView character) {
        if (isWhitespace(character)) {
            endWord();
        } else if (isCJK(character)) {
            endWord();
            result.append(character.toString());
        } else {
            word += character;
        }
    });
    endWord();
    return result;
}

bool substantial(const QStringList& tokens) {
    // A token that holds a CJK character is that character: words end before one.
    const auto cjk =
        static_cast<std::size_t>(std::ranges::count_if(tokens, [](const QString& token) { return isCJK(token); }));
    const std::size_t others = static_cast<std::size_t>(tokens.size()) - cjk;
    return others >= substantialWords || cjk >= substantialCharacters;
}

bool isShort(const QString& text) {
    const QString normalized = normalize(text);
    if (normalized.split(u' ', Qt::SkipEmptyParts).size() <= shortWords) {
        return true;
    }
    qsizetype characters = 0;
    forEachCharacter(normalized, [&](QStringView character) { characters += isWhitespace(character) ? 0 : 1; });
    return characters <= shortCharacters;
}

std::optional<std::size_t> find(std::span<const int> needle, std::span<const int> haystack) {
    if (needle.empty() || needle.size() > haystack.size()) {
        return std::nullopt;
    }
    const auto found = std::ranges::search(haystack, needle);
    if (found.empty()) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(found.begin() - haystack.begin());
}

std::optional<std::size_t> find(const QStringList& needle, const QStringList& haystack) {
    const auto wanted = composed(needle);
    const auto all = composed(haystack);
    const auto found = std::ranges::search(all, wanted);
    if (wanted.empty() || found.empty()) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(found.begin() - all.begin());
}

double ratio(const QStringList& a, const QStringList& b) {
    return Gestalt::ratio(composed(a), composed(b));
}

double ratio(const QString& a, const QString& b) {
    return Gestalt::ratio(a, b);
}

} // namespace ai::TranscriptCleaner
