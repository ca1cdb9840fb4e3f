#include "base/TextSearch.h"

#include "base/FoldedScalar_p.h"
#include "base/Text.h"

#include <QTextBoundaryFinder>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

namespace base::TextSearch {

namespace {

using Role = FoldedScalar::Role;

// --- Scalars of both encodings

char32_t takeScalar(QStringView text, std::size_t& at) {
    const QChar unit = text[static_cast<qsizetype>(at++)];
    if (!unit.isSurrogate()) {
        return unit.unicode();
    }
    if (unit.isHighSurrogate() && at < static_cast<std::size_t>(text.size())) {
        const QChar low = text[static_cast<qsizetype>(at)];
        if (low.isLowSurrogate()) {
            ++at;
            return QChar::surrogateToUcs4(unit, low);
        }
    }
    return QChar::ReplacementCharacter;
}

char32_t takeScalar(std::string_view text, std::size_t& at) {
    constexpr auto broken = char32_t(QChar::ReplacementCharacter);
    const auto first = static_cast<unsigned char>(text[at++]);
    if (first < 0x80) {
        return first;
    }
    const int more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : first >= 0xC0 ? 1 : 0;
    char32_t scalar = more == 3 ? first & 0x07U : more == 2 ? first & 0x0FU : first & 0x1FU;
    for (int i = 0; i < more; ++i) {
        if (at == text.size() || (static_cast<unsigned char>(text[at]) & 0xC0U) != 0x80) {
            return broken;
        }
        scalar = (scalar << 6U) | (static_cast<unsigned char>(text[at++]) & 0x3FU);
    }
    return more == 0 ? broken : scalar;
}

void append(QString& text, std::u32string_view scalars) {
    for (const char32_t scalar : scalars) {
        text += QChar::fromUcs4(scalar);
    }
}

void append(std::string& text, std::u32string_view scalars) {
    const auto unit = [&text](char32_t value) { text += static_cast<char>(value); };
    for (const char32_t scalar : scalars) {
        if (scalar < 0x80) {
            unit(scalar);
        } else if (scalar < 0x800) {
            unit(0xC0U | (scalar >> 6U));
            unit(0x80U | (scalar & 0x3FU));
        } else if (scalar < 0x10000) {
            unit(0xE0U | (scalar >> 12U));
            unit(0x80U | ((scalar >> 6U) & 0x3FU));
            unit(0x80U | (scalar & 0x3FU));
        } else {
            unit(0xF0U | (scalar >> 18U));
            unit(0x80U | ((scalar >> 12U) & 0x3FU));
            unit(0x80U | ((scalar >> 6U) & 0x3FU));
            unit(0x80U | (scalar & 0x3FU));
        }
    }
}

// --- Folding piece by piece: a base with the marks and the joining characters behind it

template<typename Text>
void appendTogether(std::u32string& unmarked, Text text, std::size_t& at) {
    const auto size = static_cast<std::size_t>(text.size());
    for (std::size_t next = at; next < size; at = next) {
        const char32_t scalar = takeScalar(text, next);
        switch (foldedScalar(scalar).role) {
        case Role::Base:
            return;
        case Role::Mark:
            break;
        case Role::Joining:
            unmarked += withoutMarks(scalar);
            break;
        }
    }
}

/// Appends the folded piece that begins at `at`, and moves behind it.
template<typename Text, typename Out>
void foldPiece(Out& out, Text text, std::size_t& at) {
    const char32_t first = takeScalar(text, at);
    const FoldedScalar& alone = foldedScalar(first);
    const std::size_t behindFirst = at;
    std::u32string joining;
    appendTogether(joining, text, at);
    if (joining.empty()) {
        append(out, alone.text());
        return;
    }
    at = behindFirst;
    std::u32string unmarked = alone.role == Role::Mark ? std::u32string() : withoutMarks(first);
    appendTogether(unmarked, text, at);
    append(out, foldedTogether(unmarked));
}

// --- The quick road for what most texts are made of

/// Eight ASCII characters in lower case, all at once.
std::uint64_t lowered(std::uint64_t eight) {
    constexpr std::uint64_t ones = 0x0101010101010101U;
    const std::uint64_t fromA = eight + ones * (0x80 - 'A');
    const std::uint64_t beyondZ = eight + ones * (0x80 - 'Z' - 1);
    return eight | ((fromA & ~beyondZ & (ones * 0x80)) >> 2U);
}

/// Copies ASCII in lower case and moves behind it.
void foldAscii(char*& to, const char*& from, const char* end) {
    constexpr std::uint64_t highBits = 0x8080808080808080U;
    while (end - from >= 8) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, from, 8);
        if ((eight & highBits) != 0) {
            break;
        }
        eight = lowered(eight);
        std::memcpy(to, &eight, 8);
        from += 8;
        to += 8;
    }
    while (from < end && static_cast<unsigned char>(*from) < 0x80) {
        *to++ = static_cast<char>(*from >= 'A' && *from <= 'Z' ? *from + ('a' - 'A') : *from);
        ++from;
    }
}

/// Whether the three bytes are a character that nothing changes: an ideograph, or punctuation that goes with them.
bool isIdeographic(const char* bytes) {
    const auto first = static_cast<unsigned char>(bytes[0]);
    const auto second = static_cast<unsigned char>(bytes[1]);
    const auto third = static_cast<unsigned char>(bytes[2]);
    if (first >= 0xE4 && first <= 0xE9) {
        return true; // U+4000 to U+9FFF
    }
    if (first == 0xE3) {
        return second >= 0x90 || (second == 0x80 && third <= 0xA9); // U+3400 to U+3FFF, U+3000 to U+3029
    }
    return first == 0xEF && second == 0xBC && third <= 0xA0; // U+FF00 to U+FF20
}

void foldIdeographs(char*& to, const char*& from, const char* end) {
    while (end - from >= 3 && isIdeographic(from)) {
        std::memcpy(to, from, 3);
        from += 3;
        to += 3;
    }
}

/// Folds as much of the front of `text` as is plain; what stands there may still be joined by what comes next, so the
/// last character is left for the slow road unless the text ends with it.
std::size_t foldPlain(std::string& out, std::string_view text) {
    const std::size_t before = out.size();
    const char* from = text.data();
    out.resize_and_overwrite(before + text.size(), [&](char* buffer, std::size_t) {
        char* to = buffer + before;
        const char* const end = from + text.size();
        for (const char* last = nullptr; last != from;) {
            last = from;
            foldAscii(to, from, end);
            foldIdeographs(to, from, end);
        }
        if (from != end && from != text.data()) {
            const int length = static_cast<unsigned char>(from[-1]) < 0x80 ? 1 : 3;
            from -= length;
            to -= length;
        }
        return static_cast<std::size_t>(to - buffer);
    });
    return static_cast<std::size_t>(from - text.data());
}

bool isAscii(QStringView text) {
    return std::ranges::all_of(text, [](QChar unit) { return unit.unicode() < 0x80; });
}

// --- From a folded text back to the original

/// The characters that a person sees between two places of a text, as a whole. Of the whole text, since where one ends
/// can depend on what stands far before it.
Range wholeCharacters(QStringView text, qsizetype first, qsizetype last) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    finder.setPosition(first);
    if (!finder.isAtBoundary()) {
        finder.toPreviousBoundary();
    }
    const qsizetype begin = finder.position();
    finder.setPosition(last);
    if (!finder.isAtBoundary()) {
        finder.toNextBoundary();
    }
    return {begin, finder.position() - begin};
}

/// What of `text` became the units from `first` to `last` of its folded form.
Range originOf(QStringView text, qsizetype first, qsizetype last) {
    QString piece;
    std::size_t at = 0;
    std::size_t from = 0;
    for (qsizetype reached = 0; reached < last; reached += piece.size()) {
        if (reached <= first) {
            from = at;
        }
        piece.clear();
        foldPiece(piece, text, at);
    }
    return {static_cast<qsizetype>(from), static_cast<qsizetype>(at - from)};
}

} // namespace

QString folded(QStringView text) {
    if (isAscii(text)) {
        return text.toString().toLower();
    }
    QString result;
    result.reserve(text.size());
    for (std::size_t at = 0; at < static_cast<std::size_t>(text.size());) {
        foldPiece(result, text, at);
    }
    return result;
}

void appendFolded(std::string& folded, std::string_view text) {
    while (!text.empty()) {
        std::size_t at = foldPlain(folded, text);
        if (at < text.size()) {
            foldPiece(folded, text, at);
        }
        text.remove_prefix(at);
    }
}

QStringList words(QStringView query) {
    QStringList found;
    QString word;
    for (const QChar unit : query) {
        if (!Text::isWhitespaceOrNewline(unit.unicode())) {
            word += unit;
        } else if (!word.isEmpty()) {
            found.append(std::exchange(word, {}));
        }
    }
    if (!word.isEmpty()) {
        found.append(word);
    }
    return found;
}

std::optional<Range> find(QStringView text, QStringView word) {
    const QString wanted = folded(word);
    const qsizetype at = wanted.isEmpty() ? -1 : folded(text).indexOf(wanted);
    if (at < 0) {
        return std::nullopt;
    }
    const Range origin = originOf(text, at, at + wanted.size());
    return wholeCharacters(text, origin.location, origin.location + origin.length);
}

bool contains(QStringView text, QStringView word) {
    const QString wanted = folded(word);
    return !wanted.isEmpty() && folded(text).contains(wanted);
}

} // namespace base::TextSearch
