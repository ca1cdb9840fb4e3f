// How folded text is cut for the index: scripts that part words by blanks, and those that write on and on.
//   Text     UTF-8, folded. A character of one or two bytes is spaced (Latin, Greek, Cyrillic, Hebrew, Arabic, digits
//            and punctuation), one of three or four is dense (Chinese, Japanese, Korean, Indic, emoji)
//   Threads  any; no state
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace jobs::SearchTerms {

/// Number of a meeting within a block.
using Meeting = std::uint16_t;
using Key = std::uint64_t;

enum class Kind { Blank, Spaced, Dense };

[[nodiscard]] inline Kind kindOf(char first) {
    const auto byte = static_cast<unsigned char>(first);
    return byte <= 0x20 ? Kind::Blank : byte < 0xE0 ? Kind::Spaced : Kind::Dense;
}

/// Bytes of the dense character that begins with `first`.
[[nodiscard]] inline std::size_t lengthOf(char first) {
    return static_cast<unsigned char>(first) < 0xF0 ? 3 : 4;
}

/// Up to four bytes as a number, which is not 0 unless all of them are.
[[nodiscard]] inline Key keyOf(std::string_view bytes) {
    Key key = 0;
    for (const char byte : bytes) {
        key = key << 8U | static_cast<unsigned char>(byte);
    }
    return key;
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

/// Calls `visit` with the key of each character of a dense run.
template<typename Visit>
void forEachCharacter(std::string_view run, Visit visit) {
    for (std::size_t at = 0; at < run.size(); at += lengthOf(run[at])) {
        visit(keyOf(run.substr(at, lengthOf(run[at]))));
    }
}

} // namespace jobs::SearchTerms
