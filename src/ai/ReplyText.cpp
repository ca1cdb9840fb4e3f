#include "ai/ReplyText.h"

#include "base/Text.h"

using namespace Qt::StringLiterals;

namespace ai::AIPipeline {
namespace {

bool isDash(QChar unit) {
    return unit == u'—' || unit == u'–';
}

/// Separators of every kind, and the control characters that move the pen. All of them are single UTF-16 units.
bool isSpace(QChar unit) {
    switch (unit.category()) {
    case QChar::Separator_Space:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return unit == u'\t' || unit == u'\n' || unit == u'\f' || unit == u'\r';
    }
}

QString replaceDashes(QStringView text, QStringView comma) {
    QString result;
    result.reserve(text.size());
    qsizetype firstOwn = 0; // what stands before it is a comma of ours, whose blank stays
    for (qsizetype at = 0; at < text.size();) {
        if (!isDash(text[at])) {
            result += text[at++];
            continue;
        }
        while (result.size() > firstOwn && isSpace(result.back())) {
            result.chop(1);
        }
        while (at < text.size() && isDash(text[at])) {
            ++at;
        }
        while (at < text.size() && isSpace(text[at])) {
            ++at;
        }
        result += comma;
        firstOwn = result.size();
    }
    return result;
}

} // namespace

QString noDashes(QStringView text) {
    return replaceDashes(text, u"，");
}

QString noDashesLatin(QStringView text) {
    return replaceDashes(text, u", ");
}

QString oneLine(QStringView text) {
    QString result;
    const auto addPiece = [&](QStringView line) {
        const QString piece = base::Text::trimmedBlanks(line);
        if (!piece.isEmpty()) {
            result += (result.isEmpty() ? u""_s : u" "_s) + piece;
        }
    };
    qsizetype begin = 0;
    for (qsizetype at = 0; at < text.size(); ++at) {
        if (base::Text::isNewline(text[at].unicode())) {
            addPiece(text.sliced(begin, at - begin));
            begin = at + 1;
        }
    }
    addPiece(text.sliced(begin));
    return result;
}

std::optional<QString> cleanText(const base::Json& value) {
    const auto text = value.toString();
    if (!text) {
        return std::nullopt;
    }
    const QString clean = base::Text::trimmed(noDashes(oneLine(*text)));
    return clean.isEmpty() ? std::nullopt : std::optional(clean);
}

} // namespace ai::AIPipeline
