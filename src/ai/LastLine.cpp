#include "ai/LastLine.h"

#include "base/Text.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace ai::AIPipeline {
namespace {

/// Far more bytes than the longest excerpt has: what a tool writes without any line end is not turned into text whole.
constexpr qsizetype decodedBytes = 16 * 1024;

bool isLineEnd(char byte) {
    return byte == '\n' || byte == '\r';
}

bool isBlank(char byte) {
    return byte == ' ' || byte == '\t';
}

/// Neither byte is ever part of a longer UTF-8 sequence, so lines can be cut out before they are decoded.
QByteArrayView lineBefore(QByteArrayView output, qsizetype end) {
    qsizetype begin = end;
    while (begin > 0 && !isLineEnd(output[begin - 1])) {
        --begin;
    }
    return output.sliced(begin, end - begin);
}

QString decoded(QByteArrayView line) {
    while (!line.isEmpty() && isBlank(line.front())) {
        line = line.sliced(1);
    }
    return base::Text::trimmedBlanks(QString::fromUtf8(line.first(std::min(line.size(), decodedBytes))));
}

} // namespace

QString lastLine(QByteArrayView output) {
    qsizetype end = output.size();
    while (end >= 0) {
        const auto line = lineBefore(output, end);
        const QString text = decoded(line);
        if (!text.isEmpty()) {
            const bool fits = base::Text::characterCount(text) <= lastLineLength;
            return fits ? text : base::Text::prefix(text, lastLineLength) + u"…";
        }
        end -= line.size() + 1;
    }
    return {};
}

} // namespace ai::AIPipeline
