#include "base/TextSearch.h"

#include "base/FoldedScalar_p.h"

#include <QList>
#include <QRandomGenerator>
#include <QTextBoundaryFinder>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace base;

namespace {

QString characterOf(char32_t scalar) {
    QString text;
    text += QChar::fromUcs4(scalar);
    return text;
}

/// The rule applied to the whole text at once.
QString plainlyFolded(const QString& text) {
    QString kept;
    for (const char32_t scalar : text.normalized(QString::NormalizationForm_D).toUcs4()) {
        if (QChar::combiningClass(scalar) == 0) {
            kept += QChar::fromUcs4(scalar);
        }
    }
    QString folded;
    for (const char32_t scalar : kept.normalized(QString::NormalizationForm_C).toCaseFolded().toUcs4()) {
        const QString letter = characterOf(scalar);
        const QString capitals = letter.toUpper();
        folded += capitals.size() > letter.size() ? capitals.toCaseFolded() : letter;
    }
    return folded;
}

QString foldedBytes(const QString& text) {
    std::string out = "before";
    const QByteArray bytes = text.toUtf8();
    TextSearch::appendFolded(out, {bytes.constData(), static_cast<std::size_t>(bytes.size())});
    EXPECT_TRUE(out.starts_with("before"));
    return QString::fromStdString(out).sliced(6); // cut afterwards: Qt would take a byte-order mark off the front
}

/// Texts of a few characters each, of those that fold, join or vanish in many ways.
class RandomTexts {
public:
    explicit RandomTexts(quint32 seed) : m_random(seed) {}

    QString next(int longest = 12) {
        QString text;
        for (int left = m_random.bounded(longest + 1); left > 0; --left) {
            const char32_t scalar =
                m_random.bounded(4) == 0 ? anything() : known[m_random.bounded(static_cast<int>(std::size(known)))];
            text += QChar::fromUcs4(scalar);
        }
        return text;
    }

private:
    static constexpr char32_t known[] = {
        U'a',      U'B',      U'z',          U'Z',      U'@',      U'[',      U' ',      U'\n',     U'é',
        U'É',      U'ß',      U'ẞ',          U'İ',      U'ı',      U'ſ',      U'ǰ',      U'ŉ',      U'ﬃ',
        U'Σ',      U'ς',      U'ΐ',          U'Ω',      U'Ⱥ',      U'會',     U'議',     U'。',     U'，',
        U'　',     U'Ａ',     U'が',         U'か',     U'각',     U'가',     U'ㄱ',     U'ᄀ',     U'ᅡ',
        U'ᆨ',      U'ক',      U'\u09C7',     U'\u09BE', U'\u0BCA', U'\u0BBE', U'ก',      U'\u0E33', U'\u0301',
        U'\u0302', U'\u0345', U'\u0323',     U'\u3099', U'\u302A', U'\u200D', U'\uFE0F', U'\uFEFF', U'👩',
        U'🇹',      U'𠀀',     U'\U0001D15E', U'豈'};

    char32_t anything() {
        const char32_t scalar = static_cast<char32_t>(m_random.bounded(0x110000));
        return QChar::isSurrogate(scalar) ? U'x' : scalar;
    }

    QRandomGenerator m_random;
};

std::optional<QString> found(QStringView text, QStringView word) {
    const auto range = TextSearch::find(text, word);
    return range ? std::optional(text.sliced(range->location, range->length).toString()) : std::nullopt;
}

TEST(TextSearchTest, CaseMakesNoDifference) {
    EXPECT_EQ(found(u"the Weekly sync", u"weekly"), u"Weekly"_s);
    EXPECT_EQ(found(u"the weekly sync", u"WEEKLY"), u"weekly"_s);
    EXPECT_EQ(found(u"ΣΊΣΥΦΟΣ", u"σίσυφος"), u"ΣΊΣΥΦΟΣ"_s);
}

TEST(TextSearchTest, ALetterThatCapitalsSpellOutIsFoundByBoth) {
    EXPECT_EQ(found(u"die Straße", u"STRASSE"), u"Straße"_s);
    EXPECT_EQ(found(u"DIE STRASSE", u"straße"), u"STRASSE"_s);
    EXPECT_EQ(found(u"GROẞ", u"groß"), u"GROẞ"_s);
    EXPECT_EQ(found(u"ısı", u"isi"), std::nullopt);
}

TEST(TextSearchTest, AccentsMakeNoDifferenceOnEitherSide) {
    EXPECT_EQ(found(u"mon résumé", u"resume"), u"résumé"_s);
    EXPECT_EQ(found(u"my resume", u"résumé"), u"resume"_s);
    EXPECT_EQ(found(u"mon re\u0301sume\u0301.", u"résumé"), u"re\u0301sume\u0301"_s);
    EXPECT_EQ(found(u"Việt Nam", u"viet"), u"Việt"_s);
}

TEST(TextSearchTest, ScriptsWithoutCaseAreFoundAsTheyStand) {
    EXPECT_EQ(found(u"下週一開會議", u"會議"), u"會議"_s);
    EXPECT_EQ(found(u"𠀀𠀁𠀂", u"𠀁"), u"𠀁"_s);
    EXPECT_EQ(found(u"각", u"가"), std::nullopt);
}

TEST(TextSearchTest, TheFirstOfSeveralCounts) {
    EXPECT_EQ(TextSearch::find(u"a é e", u"e"), (TextSearch::Range{2, 1}));
}

TEST(TextSearchTest, WhatIsNotThereIsNotFound) {
    EXPECT_EQ(found(u"abc", u"abd"), std::nullopt);
    EXPECT_EQ(found(u"", u"a"), std::nullopt);
    EXPECT_EQ(found(u"abc", u""), std::nullopt);
    EXPECT_EQ(found(u"abc", u"\u0301"), std::nullopt);
    EXPECT_FALSE(TextSearch::contains(u"abc", u""));
}

TEST(TextSearchTest, ContainsSaysTheSameAsFind) {
    for (const QString& text : {u"mon Résumé"_s, u"die Straße"_s, u"下週一開會議"_s, u"ABC"_s, u"a\u0301\u0302b"_s}) {
        for (const QString& word : {u"resume"_s, u"STRAßE"_s, u"會議"_s, u"bc"_s, u"ab"_s, u"x"_s}) {
            EXPECT_EQ(TextSearch::contains(text, word), TextSearch::find(text, word).has_value())
                << text.toStdString() << word.toStdString();
        }
    }
}

TEST(TextSearchTest, HalfASurrogatePairIsNoCrash) {
    const QString half = u"a"_s + QChar(0xD83D) + u"é"_s;
    EXPECT_TRUE(TextSearch::contains(half, u"e"));
    EXPECT_TRUE(TextSearch::find(half, u"e"));
}

TEST(TextSearchTest, FoldingPieceByPieceIsFoldingTheWhole) {
    RandomTexts texts(1);
    for (int i = 0; i < 20'000; ++i) {
        const QString text = texts.next();
        ASSERT_EQ(TextSearch::folded(text), plainlyFolded(text)) << text.toStdString();
        ASSERT_EQ(foldedBytes(text), plainlyFolded(text)) << text.toStdString();
    }
}

TEST(TextSearchTest, EveryCharacterFoldsAlikeInBothEncodings) {
    for (char32_t scalar = 1; scalar < 0x110000; ++scalar) {
        const auto category = QChar::category(scalar);
        if (category != QChar::Other_Surrogate && category != QChar::Other_NotAssigned &&
            category != QChar::Other_PrivateUse) {
            const QString text = u"<"_s + characterOf(scalar);
            const QString wanted = plainlyFolded(text);
            ASSERT_EQ(TextSearch::folded(text), wanted) << std::hex << static_cast<std::uint32_t>(scalar);
            ASSERT_EQ(foldedBytes(text), wanted) << std::hex << static_cast<std::uint32_t>(scalar);
        }
    }
}

TEST(TextSearchTest, LongRunsOfPlainTextFoldLikeShortOnes) {
    const QString words = u"The QUICK brown Fox @[`{ jumps, 下週一 開會議。OVER，the lazy DOG １２３"_s;
    for (qsizetype from = 0; from < words.size(); ++from) {
        const QString text = words.mid(from) + u'\u0301' + words.left(from);
        EXPECT_EQ(foldedBytes(text), plainlyFolded(text));
    }
}

TEST(TextSearchTest, WhatWhiteSpacePartsIsFoldedByItself) {
    RandomTexts texts(2);
    for (int i = 0; i < 5'000; ++i) {
        const QString left = texts.next();
        const QString right = texts.next();
        for (const QChar blank : {u' ', u'\n', u'\t', u'\u3000'}) {
            ASSERT_EQ(TextSearch::folded(QString(left + blank + right)),
                      QString(TextSearch::folded(left) + blank + TextSearch::folded(right)));
        }
    }
}

TEST(TextSearchTest, WhatIsFoundIsWholeAndHoldsTheWord) {
    RandomTexts texts(3);
    int hits = 0;
    for (int i = 0; i < 20'000; ++i) {
        const QString text = texts.next(30);
        const QString word = texts.next(2);
        const auto range = TextSearch::find(text, word);
        ASSERT_EQ(range.has_value(), TextSearch::contains(text, word))
            << text.toStdString() << '|' << word.toStdString();
        if (!range) {
            continue;
        }
        ++hits;
        const QStringView hit = QStringView(text).sliced(range->location, range->length);
        ASSERT_TRUE(TextSearch::contains(hit, word)) << text.toStdString() << '|' << word.toStdString();
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
        for (const qsizetype end : {range->location, range->location + range->length}) {
            finder.setPosition(end);
            ASSERT_TRUE(finder.isAtBoundary()) << text.toStdString() << '|' << word.toStdString();
        }
        // The first one: nothing that ends before the hit does holds the word.
        ASSERT_FALSE(TextSearch::contains(QStringView(text).first(range->location), word));
    }
    EXPECT_GT(hits, 1'000);
}

TEST(TextSearchTest, AHitTakesTheWholeCharacterThatAPersonSees) {
    EXPECT_EQ(found(u"a 👩‍👧 b", u"👩"), u"👩‍👧"_s);
    EXPECT_EQ(found(u"a 👩‍👧 b", u"👧"), u"👩‍👧"_s);
    EXPECT_EQ(found(u"🇹🇼", u"🇹🇼"), u"🇹🇼"_s);
    EXPECT_EQ(found(u"die Straße", u"s"), u"S"_s);
    EXPECT_EQ(found(u"Maße", u"s"), u"ß"_s);
    EXPECT_EQ(found(u"x\r\ny", u"\n"), u"\r\n"_s);
}

TEST(TextSearchTest, WhereACharacterEndsIsSaidByTheWholeText) {
    // By itself, what begins with "@" has an end after it; in this text it has none.
    const QString text = u"\u11A8。 \uFE0F🇼ẞE戀-@\u200D\u0BBEㄱbᄀB"_s;
    const auto range = TextSearch::find(text, u"\u0BBEㄱ");
    ASSERT_TRUE(range);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    finder.setPosition(range->location);
    EXPECT_TRUE(finder.isAtBoundary());
}

TEST(TextSearchTest, AStormOfMarksTakesNoLongerThanItsLength) {
    QString storm = u"e"_s;
    for (int i = 0; i < 300'000; ++i) {
        storm += i % 2 == 0 ? u'\u0301' : u'\u0323';
    }
    EXPECT_EQ(TextSearch::folded(storm), u"e"_s);
    EXPECT_EQ(TextSearch::find(QString(storm + u"x"_s), u"ex"), (TextSearch::Range{0, storm.size() + 1}));
    const QString joining = u"ক"_s + QString(300'000, u'\u09BE');
    EXPECT_EQ(TextSearch::folded(joining), plainlyFolded(joining));
}

TEST(TextSearchTest, WordsArePartedByAnyWhiteSpace) {
    EXPECT_EQ(TextSearch::words(u""), QStringList());
    EXPECT_EQ(TextSearch::words(u" \t\n\u3000 "), QStringList());
    EXPECT_EQ(TextSearch::words(u"  weekly   sync "), (QStringList{u"weekly"_s, u"sync"_s}));
    EXPECT_EQ(TextSearch::words(u"會議\u3000客戶\tann"), (QStringList{u"會議"_s, u"客戶"_s, u"ann"_s}));
}

TEST(TextSearchTest, HalvesOfPairsReadAsTheReplacementCharacter) {
    const QString half(QChar(0xD83D));
    EXPECT_EQ(TextSearch::folded(QString(half + u"é"_s)), u"\uFFFDe"_s);
    EXPECT_EQ(TextSearch::folded(QString(u"é"_s + QChar(0xDC00))), u"e\uFFFD"_s);
    EXPECT_TRUE(TextSearch::contains(u"a\uFFFDb", half));
}

} // namespace
