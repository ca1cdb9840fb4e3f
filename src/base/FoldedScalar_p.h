// What single characters become when a text is folded for search, looked up in tables that are made as they are needed.
//   Threads  any; a table once made stays
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace base::TextSearch {

struct FoldedScalar {
    enum class Role : std::uint8_t {
        Base,   ///< begins something new
        Mark,   ///< goes: an accent
        Joining ///< may become one character with what stands before it
    };

    Role role = Role::Base;
    std::uint8_t length = 0;
    std::array<char32_t, 3> scalars{};

    [[nodiscard]] std::u32string_view text() const { return {scalars.data(), length}; }
};

/// `scalar` folded as if it stood alone; of anything beyond Unicode what U+FFFD becomes.
[[nodiscard]] const FoldedScalar& foldedScalar(char32_t scalar);
/// `scalar` in canonical decomposition without its marks, not yet case folded.
[[nodiscard]] std::u32string withoutMarks(char32_t scalar);
/// What withoutMarks made of a base and of all that joins it, as one.
[[nodiscard]] std::u32string foldedTogether(std::u32string_view unmarked);

} // namespace base::TextSearch
