// The one-line excerpt of a tool's output that goes into a message.
#pragma once

#include <QByteArrayView>
#include <QString>

namespace ai::AIPipeline {

/// Characters of a line that are kept; a longer one ends in "…".
inline constexpr qsizetype lastLineLength = 160;

/// The last line that holds more than blanks; empty if there is none. Bytes that are no UTF-8 become replacement
/// characters. However much there is, only its end is looked at.
[[nodiscard]] QString lastLine(QByteArrayView output);

} // namespace ai::AIPipeline
