// Finding words the way people do: case and accents make no difference.
//   Positions  UTF-16 units
//   Rule       canonical decomposition, without marks of a combining class, case folded: "É" is found by "e"
//   Threads    any; no state
#pragma once

#include <QString>
#include <QStringView>

#include <optional>

namespace base::TextSearch {

/// A text in the form in which words are looked for: `folded(text).contains(folded(word))`. Fold a text that is
/// searched again and again once.
[[nodiscard]] QString folded(QStringView text);

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
