// How folded text is cut for the index. Scripts that part words by blanks make terms of whole words, and letters of
// other scripts, which stand without blanks, are taken in ones and twos.
//   Text     UTF-8, folded. A character of up to two bytes is of the first kind (Latin, Greek, Cyrillic, Hebrew,
//   Arabic,
//            digits and punctuation), one of three or four of the other (Chinese, Japanese, Korean, Indic, emoji)
//   Threads  any; no state
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace jobs::SearchTerms {

enum class Kind { Blank, Spaced, Dense };

[[nodiscard]] inline Kind kindOf(char first) {
    const auto byte = static_cast<unsigned char>(first);
    return byte <= 0x20 ? Kind::Blank : byte < 0xE0 ? Kind::Spaced : Kind::Dense;
}

/// Bytes of the dense character that begins with `first`.
[[nodiscard]] inline std::size_t lengthOf(char first) {
    return static_cast<unsigned char>(first) < 0xF0 ? 3 : 4;
}

/// A dense character as a number that is not 0.
[[nodiscard]] inline std::uint64_t denseCharacter(std::string_view bytes) {
    std::uint64_t value = 0;
    for (const char byte : bytes) {
        value = value << 8U | static_cast<unsigned char>(byte);
    }
    return value;
}

/// Calls `visit` with the kind and the text of each run of characters of one kind.
template<typename Visit>
void forEachRun(std::string_view text, Visit visit) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t from = at;
        const Kind kind = kindOf(text[at]);
        do {
            at += kind == Kind::Dense ? lengthOf(text[at]) : 1;
        } while (at < text.size() && kindOf(text[at]) == kind);
        at = std::min(at, text.size()); // half a character at the end, which is no UTF-8
        visit(kind, text.substr(from, at - from));
    }
}

/// Keys of the single characters of a dense run and of each two neighbours.
template<typename Visit>
void forEachDenseTerm(std::string_view run, Visit visit) {
    std::uint64_t before = 0;
    for (std::size_t at = 0; at < run.size(); at += lengthOf(run[at])) {
        const std::uint64_t character = denseCharacter(run.substr(at, lengthOf(run[at])));
        visit(character);
        if (before != 0) {
            visit(before << 32U | character);
        }
        before = character;
    }
}

/// The longest pieces of a word that are looked up as they stand.
inline constexpr std::size_t pieceBytes = 3;

/// A piece of one to three bytes as a number.
[[nodiscard]] inline std::uint64_t pieceKey(std::string_view piece) {
    return denseCharacter(piece);
}

/// Keys of all pieces of a word that are `length` bytes long.
template<typename Visit>
void forEachPiece(std::string_view word, std::size_t length, Visit visit) {
    for (std::size_t at = 0; at + length <= word.size(); ++at) {
        visit(pieceKey(word.substr(at, length)));
    }
}

} // namespace jobs::SearchTerms
