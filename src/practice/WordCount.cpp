#include "ai/TranscriptCleaner.h"
#include "practice/PracticeStats.h"

#include <QTextBoundaryFinder>

namespace practice {

namespace {

char32_t firstScalar(QStringView character) {
    if (character.size() > 1 && character.at(0).isHighSurrogate() && character.at(1).isLowSurrogate()) {
        return QChar::surrogateToUcs4(character.at(0), character.at(1));
    }
    return character.at(0).unicode();
}

/// A letter or a number in any script: what its first scalar is decides.
bool isWordCharacter(QStringView character) {
    return QChar::isLetterOrNumber(firstScalar(character));
}

bool isApostrophe(QStringView character) {
    return character == u"'" || character == u"’";
}

} // namespace

std::int64_t PracticeStats::countWords(const QString& text) {
    std::int64_t words = 0;
    bool inWord = false;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype from = 0;
    for (qsizetype to = finder.toNextBoundary(); to >= 0; from = to, to = finder.toNextBoundary()) {
        const QStringView character = QStringView(text).sliced(from, to - from);
        if (ai::TranscriptCleaner::isCJK(character)) {
            ++words;
            inWord = false;
        } else if (isWordCharacter(character)) {
            words += inWord ? 0 : 1;
            inWord = true;
        } else if (!(inWord && isApostrophe(character))) {
            inWord = false;
        }
    }
    return words;
}

} // namespace practice
