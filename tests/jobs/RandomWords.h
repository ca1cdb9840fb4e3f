// Texts in many scripts out of few letters, so that words are found again and again, and found nearly.
#pragma once

#include <QRandomGenerator>
#include <QString>
#include <QStringList>

#include <iterator>

class RandomWords {
public:
    explicit RandomWords(quint32 seed) : m_random(seed) {}

    int below(int limit) { return m_random.bounded(limit); }

    QString word(int longest) {
        QString text;
        // Mostly of one script, as words are, and sometimes of several.
        int script = below(scripts);
        for (int left = 1 + below(longest); left > 0; --left) {
            script = below(6) == 0 ? below(scripts) : script;
            const char32_t* letters = alphabets[script];
            text += QChar::fromUcs4(letters[below(lettersEach)]);
        }
        return text;
    }

    QString text(int words) {
        static constexpr char16_t blanks[] = {u' ', u' ', u' ', u'\n', u'\t', u'\u3000', u'\u00A0', u'\u2028'};
        QString text;
        for (int left = below(words + 1); left > 0; --left) {
            text += word(below(3) == 0 ? 12 : 4);
            if (below(4) != 0) {
                text += QChar(blanks[below(static_cast<int>(std::size(blanks)))]);
            }
        }
        return text;
    }

    /// One to three words, some of them cut out of the text.
    QString query(const QString& text) {
        QStringList words;
        for (int left = 1 + below(3); left > 0; --left) {
            const bool fromText = below(2) == 0 && !text.isEmpty();
            words.append(fromText ? text.mid(below(static_cast<int>(text.size())), 1 + below(8)) : word(4));
        }
        return words.join(u' ');
    }

private:
    static constexpr int scripts = 8;
    static constexpr int lettersEach = 6;
    static constexpr char32_t alphabets[scripts][lettersEach] = {
        {U'a', U'b', U'A', U'é', U'e', U'E'},           {U's', U'ß', U'ẞ', U'S', U'-', U'1'},
        {U'会', U'議', U'客', U'戶', U'，', U'。'},     {U'б', U'Б', U'в', U'ё', U'е', U'Ω'},
        {U'가', U'각', U'ᄀ', U'ᅡ', U'ᆨ', U'か'},       {U'が', U'か', U'\u3099', U'ク', U'ー', U'グ'},
        {U'ก', U'ำ', U'क', U'\u093E', U'ক', U'\u09BE'}, {U'👩', U'\u200D', U'👧', U'𠀀', U'\u0301', U'\uFE0F'},
    };

    QRandomGenerator m_random;
};
