// Small rules about text that several folders share.
//   Text     UTF-16; positions and lengths are what each function says: UTF-16 units or grapheme clusters
//   Threads  any; no state
#pragma once

#include <QString>
#include <QStringView>

namespace base::Text {

/// Number of grapheme clusters: what a person counts as characters.
[[nodiscard]] qsizetype characterCount(QStringView text);
/// The first `count` grapheme clusters, the whole text if it has fewer.
[[nodiscard]] QString prefix(QStringView text, qsizetype count);

/// Without whitespace (Unicode category Z and tab) and line ends (U+000A to U+000D, U+0085, U+2028, U+2029) at either
/// end.
[[nodiscard]] QString trimmed(QStringView text);
/// Without spaces and tabs alone (category Zs and U+0009) at either end.
[[nodiscard]] QString trimmedBlanks(QStringView text);
[[nodiscard]] bool isWhitespaceOrNewline(char32_t scalar);
[[nodiscard]] bool isNewline(char32_t scalar);

/// Whether two names are the same but for case, however their accents are composed: how lists of names are kept free of
/// doubles.
[[nodiscard]] bool equalIgnoringCase(QStringView left, QStringView right);

/// "%.1f" of the C locale, whatever the user's locale is; "-0.0" is written "0.0".
[[nodiscard]] QString oneDecimal(double value);
/// round(value * 10) / 10, halves away from zero.
[[nodiscard]] double roundedToTenth(double value);

/// "%@" in a text replaced by the arguments in order; "%@" inside an argument stays as it is.
[[nodiscard]] QString format(const QString& text, const QStringList& arguments);

} // namespace base::Text
