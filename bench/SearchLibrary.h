// A library of meetings to search: half of them English, half Chinese, with words as unevenly frequent as in speech.
//   Texts    words follow a Zipf distribution over a vocabulary of made-up words, the same in every run
//   Files    transcript.json, summary.json and notes.md of meetings of half an hour, as the program writes them
#pragma once

#include "ai/Transcript.h"
#include "base/Files.h"
#include "base/Json.h"
#include "store/MeetingRecord.h"

#include <QString>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <random>
#include <set>
#include <stdexcept>
#include <vector>

namespace bench {

enum class Language { English, Chinese };

/// Words by rank, the most frequent first, and texts made of them.
class Vocabulary {
public:
    Vocabulary(Language language, std::size_t size) : m_language(language) {
        std::mt19937 random(language == Language::English ? 11 : 12);
        std::set<QString> known;
        while (m_words.size() < size) {
            // The most frequent words are short.
            const QString word = made(random, m_words.size());
            if (known.insert(word).second) {
                m_words.push_back(word);
            }
        }
        double sum = 0;
        for (std::size_t rank = 1; rank <= size; ++rank) {
            sum += 1.0 / std::pow(static_cast<double>(rank) + 2.7, 1.05);
            m_upTo.push_back(sum);
        }
    }

    [[nodiscard]] const QString& word(std::size_t rank) const { return m_words.at(rank); }

    /// About `units` UTF-16 units on one line.
    template<typename Random>
    [[nodiscard]] QString line(Random& random, qsizetype units) const {
        std::uniform_real_distribution<double> uniform(0, m_upTo.back());
        QString text;
        while (text.size() < units) {
            const auto found = std::ranges::lower_bound(m_upTo, uniform(random));
            text +=
                m_words[std::min<std::size_t>(static_cast<std::size_t>(found - m_upTo.begin()), m_words.size() - 1)];
            const bool pause = random() % 9 == 0;
            if (m_language == Language::English) {
                text += pause ? QStringLiteral(", ") : QStringLiteral(" ");
            } else if (pause) {
                text += u'，';
            }
        }
        if (m_language == Language::English) {
            text[0] = text[0].toUpper();
        }
        return text.trimmed();
    }

private:
    template<typename Random>
    [[nodiscard]] QString made(Random& random, std::size_t rank) const {
        if (m_language == Language::Chinese) {
            // Some 3000 characters, frequent ones in more words than others; most words have two.
            const std::size_t length = rank < 150 ? 1 : (random() % 10 < 7 ? 2 : random() % 3 == 0 ? 4 : 3);
            QString word;
            for (std::size_t i = 0; i < length; ++i) {
                const double share = std::generate_canonical<double, 32>(random);
                word += QChar(static_cast<char16_t>(0x4E00 + static_cast<int>(3000 * share * share) * 5));
            }
            return word;
        }
        static const std::vector<QString> parts = syllables();
        const std::size_t count = 1 + random() % (rank < 200 ? 2 : 4);
        QString word;
        for (std::size_t i = 0; i < count; ++i) {
            const double share = std::generate_canonical<double, 32>(random);
            word += parts[static_cast<std::size_t>(static_cast<double>(parts.size()) * share * share)];
        }
        return word;
    }

    [[nodiscard]] static std::vector<QString> syllables() {
        std::vector<QString> made;
        for (const QChar first : QStringLiteral("tsrnldcpmbfghvwkyj")) {
            for (const QChar vowel : QStringLiteral("eaiou")) {
                made.push_back(QString(first) + vowel);
                for (const QChar last : QStringLiteral("nrtsl")) {
                    made.push_back(QString(first) + vowel + last);
                }
            }
        }
        std::mt19937 random(3);
        std::ranges::shuffle(made, random);
        return made;
    }

    Language m_language;
    std::vector<QString> m_words;
    std::vector<double> m_upTo;
};

class SearchLibrary {
public:
    /// In `folder`, which must not be there yet.
    SearchLibrary(std::filesystem::path folder, int count) : m_folder(std::move(folder)), m_count(count) {}

    void write() {
        std::filesystem::create_directories(m_folder);
        for (int i = 0; i < m_count; ++i) {
            const auto place = folderOf(i);
            std::filesystem::create_directory(place);
            std::mt19937 random(static_cast<unsigned int>(i));
            writeMeeting(place, vocabulary(i), languageOf(i) == Language::English ? 27'000 : 8'500, random);
        }
    }

    [[nodiscard]] std::vector<store::MeetingRecord> records() const {
        std::vector<store::MeetingRecord> all;
        for (int i = 0; i < m_count; ++i) {
            std::mt19937 random(static_cast<unsigned int>(i) + 1'000'000);
            store::MeetingRecord record;
            record.folder = folderOf(i);
            record.hasMeta = true;
            record.note = vocabulary(i).line(random, 12);
            record.people = {vocabulary(i).word(random() % 500), vocabulary(i).word(random() % 500)};
            all.push_back(std::move(record));
        }
        return all;
    }

    [[nodiscard]] static const Vocabulary& vocabulary(Language language) {
        static const Vocabulary english(Language::English, 30'000);
        static const Vocabulary chinese(Language::Chinese, 30'000);
        return language == Language::English ? english : chinese;
    }

    /// Left out where one is not there is no file.
    [[nodiscard]] static std::vector<std::filesystem::path> filesOf(const store::MeetingRecord& record) {
        return {record.transcriptURL(), record.summaryURL(), record.notesURL()};
    }

private:
    [[nodiscard]] static Language languageOf(int number) {
        return number % 2 == 0 ? Language::English : Language::Chinese;
    }

    [[nodiscard]] static const Vocabulary& vocabulary(int number) { return vocabulary(languageOf(number)); }

    [[nodiscard]] std::filesystem::path folderOf(int number) const {
        return m_folder / ("2024_01_01_" + std::to_string(10'000 + number));
    }

    static void put(const std::filesystem::path& file, const QByteArray& bytes) {
        FILE* out = std::fopen(file.c_str(), "wb");
        const auto size = static_cast<std::size_t>(bytes.size());
        if (out == nullptr || std::fwrite(bytes.constData(), 1, size, out) != size || std::fclose(out) != 0) {
            throw std::runtime_error("no room for the sample library");
        }
    }

    template<typename Random>
    static base::Json texts(const Vocabulary& words, int count, qsizetype units, Random& random) {
        base::Json::Array all;
        for (int i = 0; i < count; ++i) {
            all.emplace_back(words.line(random, units));
        }
        return all;
    }

    template<typename Random>
    static void writeMeeting(const std::filesystem::path& folder, const Vocabulary& words, qsizetype units,
                             Random& random) {
        std::vector<ai::Transcript::Segment> segments;
        double time = 0;
        for (qsizetype spoken = 0; spoken < units; spoken += segments.back().text.size()) {
            const auto length = static_cast<qsizetype>(10 + random() % 70);
            const double end = time + static_cast<double>(length) / 15;
            segments.push_back({.start = time,
                                .end = end,
                                .speaker = random() % 2 == 0 ? ai::Transcript::me : ai::Transcript::them,
                                .text = words.line(random, length)});
            time = end + 0.5;
        }
        const QString stamp = QStringLiteral("2024-01-01T09:00:00+08:00");
        put(folder / "transcript.json", ai::Transcript::fileBytes(segments, QStringLiteral("zh"), stamp));
        base::Json::Array actions;
        base::Json::Array points;
        for (int i = 0; i < 4; ++i) {
            actions.emplace_back(base::Json::Object{{QStringLiteral("what"), words.line(random, 20)},
                                                    {QStringLiteral("who"), words.word(random() % 500)},
                                                    {QStringLiteral("due"), base::Json()},
                                                    {QStringLiteral("mine"), i == 0}});
            points.emplace_back(base::Json::Object{{QStringLiteral("title"), words.line(random, 8)},
                                                   {QStringLiteral("items"), texts(words, 3, 25, random)}});
        }
        put(folder / "summary.json",
            base::writeJson(base::Json::Object{{QStringLiteral("version"), base::Json::integer(4)},
                                               {QStringLiteral("generatedAt"), stamp},
                                               {QStringLiteral("transcriptGeneratedAt"), stamp},
                                               {QStringLiteral("source"), QStringLiteral("claude")},
                                               {QStringLiteral("conclusion"), words.line(random, 40)},
                                               {QStringLiteral("decisions"), texts(words, 4, 20, random)},
                                               {QStringLiteral("actions"), std::move(actions)},
                                               {QStringLiteral("points"), std::move(points)},
                                               {QStringLiteral("notes"), texts(words, 2, 25, random)}}));
        put(folder / "notes.md", words.line(random, 300).toUtf8());
    }

    std::filesystem::path m_folder;
    int m_count;
};

} // namespace bench
