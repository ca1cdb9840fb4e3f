#include "ai/Gestalt.h"
#include "ai/TranscriptCleaner.h"
#include "ai/TranscriptTokens_p.h"
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

/// Whether a unit never joins with its neighbours into one character: most of what people write.
bool standsAlone(char16_t unit) {
    return (unit < 0x300 && unit != u'\r') || (unit >= 0x4E00 && unit <= 0x9FFF);
}

template<typename Visit>
void forEachCharacter(QStringView text, Visit visit) {
    if (std::ranges::all_of(text, [](QChar unit) { return standsAlone(unit.unicode()); })) {
        for (qsizetype i = 0; i < text.size(); ++i) {
            visit(text.sliced(i, 1));
        }
        return;
    }
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    qsizetype from = 0;
    for (qsizetype to = finder.toNextBoundary(); to >= 0; from = to, to = finder.toNextBoundary()) {
        visit(text.sliced(from, to - from));
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
    const QString lower = text.toLower();
    QString normalized;
    normalized.reserve(lower.size());
    forEachScalar(lower, [&normalized](char32_t scalar) {
        if (scalar != U' ' && !isPunctuationOrSymbol(scalar)) {
            normalized += QChar::fromUcs4(scalar);
        } else if (!normalized.isEmpty() && normalized.back() != u' ') {
            normalized += u' ';
        }
    });
    if (normalized.endsWith(u' ')) {
        normalized.chop(1);
    }
    return normalized;
}

void forEachToken(QStringView normalized, const std::function<void(QStringView)>& visit) {
    qsizetype position = 0;
    qsizetype wordStart = 0;
    const auto endWord = [&] {
        if (position > wordStart) {
            visit(normalized.sliced(wordStart, position - wordStart));
        }
    };
    forEachCharacter(normalized, [&](QStringView character) {
        const bool whitespace = isWhitespace(character);
        if (whitespace || isCJK(character)) {
            endWord();
            if (!whitespace) {
                visit(character);
            }
            wordStart = position + character.size();
        }
        position += character.size();
    });
    endWord();
}

QStringList tokens(const QString& text) {
    QStringList result;
    forEachToken(normalize(text), [&result](QStringView token) { result.append(token.toString()); });
    return result;
}

bool substantial(const QStringList& tokens) {
    // A token that holds a CJK character is that character: words end before one.
    const auto cjk =
        static_cast<std::size_t>(std::ranges::count_if(tokens, [](const QString& token) { return isCJK(token); }));
    return isSubstantial(static_cast<std::size_t>(tokens.size()) - cjk, cjk);
}

bool isShort(const QString& text) {
    return isShortNormalized(normalize(text));
}

bool isShortNormalized(QStringView normalized) {
    if (normalized.isEmpty() || normalized.count(u' ') + 1 <= shortWords) {
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
