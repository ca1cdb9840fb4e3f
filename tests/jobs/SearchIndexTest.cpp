#include "jobs/SearchIndex.h"

#include "RandomWords.h"
#include "base/TextSearch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

using namespace Qt::StringLiterals;
using jobs::FoldedMeeting;
using jobs::SearchBlock;
using jobs::SearchIndex;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

SearchIndex::Text textOf(const QString& text) {
    FoldedMeeting meeting;
    meeting.text = base::TextSearch::folded(text).toStdString();
    return std::make_shared<const FoldedMeeting>(std::move(meeting));
}

class SearchIndexTest : public testing::Test {
protected:
    void put(const std::string& folder, const QString& text) {
        texts[folder] = textOf(text);
        index.put(folder, texts[folder]);
    }

    void remove(const std::string& folder) {
        texts.erase(folder);
        index.remove(folder);
    }

    /// Builds the next block, of however few texts.
    void build(std::size_t few = 0) {
        auto next = index.nextBlock(few);
        if (!next.empty()) {
            index.adopt(std::make_shared<SearchBlock>(std::move(next)));
        }
    }

    std::set<std::string> found(QStringView query) {
        const auto places = index.matches(query);
        std::set<std::string> folders;
        for (const auto& [folder, text] : texts) {
            if (places.has(index.placeOf(folder).value())) {
                folders.insert(folder);
            }
        }
        EXPECT_EQ(places.count(), folders.size()) << "a place of no meeting";
        return folders;
    }

    /// What each text by itself says.
    [[nodiscard]] std::set<std::string> expected(QStringView query) const {
        std::set<std::string> folders;
        for (const auto& [folder, text] : texts) {
            if (text->matches(FoldedMeeting::words(query))) {
                folders.insert(folder);
            }
        }
        return folders;
    }

    SearchIndex index;
    std::map<std::string, SearchIndex::Text> texts;
};

TEST_F(SearchIndexTest, FindsWhetherATextIsIndexedOrNot) {
    put("a", u"the Weekly sync 會議"_s);
    put("b", u"weekend 開會"_s);
    for (int i = 0; i < 2; ++i) {
        EXPECT_THAT(found(u"week"), ElementsAre("a", "b"));
        EXPECT_THAT(found(u"weekly"), ElementsAre("a"));
        EXPECT_THAT(found(u"會"), ElementsAre("a", "b"));
        EXPECT_THAT(found(u"開會"), ElementsAre("b"));
        EXPECT_THAT(found(u"week 會議"), ElementsAre("a"));
        EXPECT_THAT(found(u"missing"), IsEmpty());
        EXPECT_THAT(found(u"議開"), IsEmpty());
        EXPECT_THAT(found(u""), ElementsAre("a", "b"));
        build();
        EXPECT_EQ(index.newTexts(), 0U);
    }
}

TEST_F(SearchIndexTest, WordsOfEveryLengthAreFound) {
    put("a", u"x1 abcdefghij 一二三四五 v2會議x é"_s);
    put("b", u"abcdefgh ijk 一二 三四五 v2 會議x"_s);
    build();
    for (const QString& whole : {u"abcdefghij"_s, u"一二三四五"_s, u"v2會議x"_s}) {
        for (qsizetype from = 0; from < whole.size(); ++from) {
            for (qsizetype length = 1; from + length <= whole.size(); ++length) {
                const QString word = whole.mid(from, length);
                EXPECT_EQ(found(word), expected(word)) << word.toStdString();
            }
        }
    }
}

TEST_F(SearchIndexTest, AWordOfWhichNothingIsLeftMatchesNothing) {
    put("a", u"abc"_s);
    EXPECT_THAT(found(u"\u0301"), IsEmpty());
    EXPECT_THAT(found(u"a"), ElementsAre("a"));
    build();
    EXPECT_THAT(found(u"\u0301 a"), IsEmpty());
    EXPECT_THAT(found(u"a"), ElementsAre("a"));
}

TEST_F(SearchIndexTest, AnotherTextTakesThePlaceOfTheFirst) {
    put("a", u"before"_s);
    put("b", u"before"_s);
    for (int i = 0; i < 2; ++i) {
        put("a", u"after"_s);
        EXPECT_THAT(found(u"before"), ElementsAre("b"));
        EXPECT_THAT(found(u"after"), ElementsAre("a"));
        build();
    }
    EXPECT_EQ(index.size(), 2U);
}

TEST_F(SearchIndexTest, WhatIsRemovedIsNotFound) {
    put("a", u"same"_s);
    put("b", u"same"_s);
    build();
    put("c", u"same"_s);
    EXPECT_THAT(found(u"same"), ElementsAre("a", "b", "c"));
    remove("a");
    remove("c");
    remove("never there");
    EXPECT_THAT(found(u"same"), ElementsAre("b"));
    EXPECT_THAT(found(u""), ElementsAre("b"));
    EXPECT_EQ(index.size(), 1U);
    EXPECT_EQ(index.text("a"), nullptr);
    put("d", u"same"_s); // at a place that was free
    EXPECT_THAT(found(u"same"), ElementsAre("b", "d"));
}

TEST_F(SearchIndexTest, AChangeWhileABlockIsBuiltIsNotLost) {
    put("a", u"old"_s);
    put("b", u"old"_s);
    put("c", u"old"_s);
    auto block = std::make_shared<SearchBlock>(index.nextBlock(0));
    put("a", u"new"_s);
    remove("b");
    index.adopt(block);
    EXPECT_THAT(found(u"old"), ElementsAre("c"));
    EXPECT_THAT(found(u"new"), ElementsAre("a"));
    EXPECT_EQ(index.newTexts(), 1U);
}

TEST_F(SearchIndexTest, MeetingsMayShareAText) {
    texts["a"] = texts["b"] = textOf(u"same"_s);
    index.put("a", texts["a"]);
    index.put("b", texts["b"]);
    build();
    EXPECT_EQ(index.newTexts(), 0U);
    EXPECT_THAT(found(u"same"), ElementsAre("a", "b"));
}

TEST_F(SearchIndexTest, FewNewTextsAreNotWorthABlock) {
    for (std::size_t i = 0; i < SearchIndex::fewTexts; ++i) {
        put(std::to_string(i), u"text"_s);
    }
    EXPECT_THAT(index.nextBlock(), IsEmpty());
    put("one more", u"text"_s);
    EXPECT_EQ(index.nextBlock().size(), SearchIndex::fewTexts + 1);
}

TEST_F(SearchIndexTest, ABlockHasNoMoreTextsThanItMay) {
    for (std::size_t i = 0; i < SearchBlock::mostMeetings + 1; ++i) {
        put(std::to_string(i), u"text "_s + QString::number(i));
    }
    EXPECT_EQ(index.nextBlock().size(), SearchBlock::mostMeetings);
    build();
    EXPECT_EQ(index.newTexts(), 1U);
    EXPECT_EQ(found(u"text").size(), SearchBlock::mostMeetings + 1);
    EXPECT_EQ(found(u"1024"), expected(u"1024"));
    build();
    EXPECT_EQ(index.newTexts(), 0U);
    EXPECT_EQ(found(u"102"), expected(u"102"));
}

TEST_F(SearchIndexTest, SmallBlocksBecomeOne) {
    put("a", u"one"_s);
    build();
    put("b", u"two"_s);
    EXPECT_EQ(index.nextBlock(0).size(), 2U);
    build();
    EXPECT_THAT(found(u"o"), ElementsAre("a", "b"));
    put("a", u"three"_s);
    build();
    EXPECT_THAT(found(u"o"), ElementsAre("b"));
    EXPECT_THAT(found(u"t"), ElementsAre("a", "b"));
}

TEST_F(SearchIndexTest, SequencesInManyMeetingsAreToldFromThoseWhosePartsAre) {
    // 天地 and 地人 are everywhere, but not always next to each other; what lasts longer is in some.
    for (int i = 0; i < 64; ++i) {
        const QString each = i % 2 == 0 ? u"天地人和日月星辰風雨"_s : u"天地，地人，人和，日月星"_s;
        put(std::to_string(i), each + (i % 16 == 0 ? u"雷電天"_s : QString()) + (i == 5 ? u"電天地"_s : QString()));
    }
    build();
    for (const QString& whole : {u"天地人和日月星辰風雨"_s, u"風雨雷電天地人"_s, u"星辰天地"_s, u"人和，日月"_s}) {
        for (qsizetype from = 0; from < whole.size(); ++from) {
            for (qsizetype length = 1; from + length <= whole.size(); ++length) {
                const QString word = whole.mid(from, length);
                ASSERT_EQ(found(word), expected(word)) << word.toStdString();
            }
        }
    }
    EXPECT_EQ(found(u"天地人和").size(), 32U);
}

TEST_F(SearchIndexTest, ABlockTakesAsManyBytesAsItMay) {
    FoldedMeeting large;
    large.text.assign(SearchBlock::mostBytes / 2, 'a');
    const auto half = std::make_shared<const FoldedMeeting>(std::move(large));
    index.put("a", half);
    index.put("b", half);
    EXPECT_EQ(index.nextBlock(0).size(), 2U);
    index.put("c", textOf(u"x"_s));
    EXPECT_EQ(index.nextBlock(0).size(), 2U);
    index.put("a", textOf(u"x"_s));
    EXPECT_EQ(index.nextBlock(0).size(), 3U);
}

TEST_F(SearchIndexTest, GoingOnWithAQueryFindsWhatABeginningWould) {
    RandomWords random(5);
    for (int i = 0; i < 40; ++i) {
        put(std::to_string(i), random.text(40));
    }
    build();
    for (int i = 0; i < 200; ++i) {
        const QString whole = random.query(random.text(10));
        for (qsizetype typed = 1; typed <= whole.size(); ++typed) {
            const QString query = whole.left(typed);
            ASSERT_EQ(found(query), expected(query)) << query.toStdString();
        }
    }
}

TEST_F(SearchIndexTest, AnswersWhatEachTextAnswersWhateverHappens) {
    RandomWords random(7);
    std::vector<std::shared_ptr<SearchBlock>> building;
    std::size_t hits = 0;
    for (int i = 0; i < 3'000; ++i) {
        const std::string folder = std::to_string(random.below(60));
        switch (random.below(8)) {
        case 0:
            remove(folder);
            break;
        case 1:
            if (auto next = index.nextBlock(static_cast<std::size_t>(random.below(20))); !next.empty()) {
                building.push_back(std::make_shared<SearchBlock>(std::move(next)));
            }
            break;
        case 2:
            if (!building.empty()) { // in any order, and late
                index.adopt(building.back());
                building.pop_back();
            }
            break;
        case 3:
        case 4:
            put(folder, random.text(30));
            break;
        default:
            const auto place = texts.find(folder);
            const QString text = place != texts.end() ? QString::fromStdString(place->second->text) : QString();
            const QString query = random.query(text);
            const auto places = found(query);
            ASSERT_EQ(places, expected(query)) << query.toStdString();
            hits += places.size();
        }
    }
    EXPECT_GT(hits, 1'000U);
}

TEST_F(SearchIndexTest, HostileTextsAreTextsLikeOthers) {
    put("long", QString(200'000, u'a') + u"b"_s);
    put("dense", QString(100'000, u'會') + u"議"_s);
    put("marks", u"x"_s + QString(100'000, u'\u0301'));
    put("halves", QString(QChar(0xD83D)) + QChar(0xDC00) + QChar(0xD83D));
    put("controls", u"\u0001\u007F\u0000a"_s);
    put("empty", u""_s);
    for (int i = 0; i < 2; ++i) {
        for (const QString& query : {u"aab"_s, u"aaaaaab"_s, u"會會議"_s, u"x"_s, u"\u0301x"_s, u"\u0001"_s,
                                     u"\u0001\u007F"_s, QString(QChar(0xD83D)), QString(300'000, u'a')}) {
            EXPECT_EQ(found(query), expected(query)) << query.left(20).toStdString();
        }
        build();
    }
}

TEST_F(SearchIndexTest, OneMeetingIsAskedAboutByItsFolder) {
    put("a", u"one"_s);
    EXPECT_TRUE(index.matches(u"one", "a"));
    EXPECT_FALSE(index.matches(u"two", "a"));
    EXPECT_FALSE(index.matches(u"one", "b"));
}

TEST_F(SearchIndexTest, TakesLittleMoreThanTheTexts) {
    put("a", QString(1'000'000, u'a'));
    const std::size_t before = index.bytes();
    EXPECT_GE(before, 1'000'000U);
    build();
    EXPECT_GT(index.bytes(), before);
    EXPECT_LT(index.bytes(), 2'500'000U);
}

} // namespace
