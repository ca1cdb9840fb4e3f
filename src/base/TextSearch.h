// Finding words the way people do: case and accents make no difference.
//   Rule     canonical decomposition, without marks of a combining class, composed again, case folded: "É" is found by
//            "e", a Korean syllable not by its first letter
//   Units    positions are UTF-16 units, where half a surrogate pair reads as U+FFFD; bytes are UTF-8 that someone has
//            checked
//   Cost     linear, also in texts made to be slow
//   Threads  any; no state
#pragma once

#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>
#include <string>
#include <string_view>

namespace base::TextSearch {

/// A text in the form in which words are looked for: `folded(text).contains(folded(word))`. Fold a text that is
/// searched again and again once. Pieces folded one by one make up the whole where white space parts them.
[[nodiscard]] QString folded(QStringView text);
/// The same from UTF-8 to UTF-8.
void appendFolded(std::string& folded, std::string_view text);

/// The pieces between characters of white space.
[[nodiscard]] QStringList words(QStringView query);

struct Range {
    qsizetype location = 0;
    qsizetype length = 0;
    bool operator==(const Range&) const = default;
};

/// Where `word` stands first in `text`, in whole characters of `text`; nullopt if it does not, or if nothing is left of
/// the word when it is folded.
[[nodiscard]] std::optional<Range> find(QStringView text, QStringView word);
[[nodiscard]] bool contains(QStringView text, QStringView word);

} // namespace base::TextSearch
