#include "ai/TranscriptCleaner.h"

#include <gtest/gtest.h>

#include <random>

using namespace ai;
using namespace ai::TranscriptCleaner;
using namespace Qt::StringLiterals;

namespace {

WhisperSegment said(double start, double end, const QString& text, double noSpeech = 0) {
    return {start, end, text, noSpeech};
}

QStringList texts(const std::vector<WhisperSegment>& segments) {
    QStringList result;
    for (const auto& segment : segments) {
        result.append(segment.text);
    }
    return result;
}

QString words(int from, int count) {
    QStringList result;
    for (int i = 0; i < count; ++i) {
        result.append(u"w%1"_s.arg(from + i));
    }
    return result.join(u' ');
}

// ---- Text

TEST(TokensTest, LatinYieldsWordsAndChineseCharacters) {
    EXPECT_EQ(tokens(u"用 claude 寫"_s), (QStringList{u"用"_s, u"claude"_s, u"寫"_s}));
    EXPECT_EQ(tokens(u"Hello, WORLD!"_s), (QStringList{u"hello"_s, u"world"_s}));
    EXPECT_EQ(tokens(u"開會meeting了"_s), (QStringList{u"開"_s, u"會"_s, u"meeting"_s, u"了"_s}));
    EXPECT_EQ(tokens(u"a\tb\nc\u3000d"_s), (QStringList{u"a"_s, u"b"_s, u"c"_s, u"d"_s}));
    EXPECT_EQ(tokens(u" ... "_s), QStringList());
}

TEST(TokensTest, NormalizingDropsPunctuationAndSymbolsOfEveryScript) {
    EXPECT_EQ(normalize(u"  It's 50% «done»，好。$5 + x  "_s), u"it s 50 done 好 5 x"_s);
    EXPECT_EQ(normalize(u"😀hi😀"_s), u"hi"_s);
    EXPECT_EQ(normalize(u"ÄÖ"_s), u"äö"_s);
}

TEST(TokensTest, CJKEndsWithItsRanges) {
    for (const char32_t inside : {0x3040U, 0x30FFU, 0x3400U, 0x4DBFU, 0x4E00U, 0x9FFFU, 0xAC00U, 0xD7AFU, 0xF900U,
                                  0xFAFFU, 0x20000U, 0x2FA1FU}) {
        EXPECT_TRUE(isCJK(QString::fromUcs4(&inside, 1))) << static_cast<unsigned>(inside);
    }
    for (const char32_t outside : {0x303FU, 0x3100U, 0x33FFU, 0x4DC0U, 0x4DFFU, 0xA000U, 0xABFFU, 0xD7B0U, 0xF8FFU,
                                   0xFB00U, 0x1FFFFU, 0x2FA20U}) {
        EXPECT_FALSE(isCJK(QString::fromUcs4(&outside, 1))) << static_cast<unsigned>(outside);
    }
    EXPECT_TRUE(isCJK(u"abc會"));
    EXPECT_FALSE(isCJK(u""));
}

TEST(TokensTest, EightChineseCharactersAreSubstantialAndSevenAreNot) {
    EXPECT_TRUE(substantial(tokens(u"一二三四五六七八"_s)));
    EXPECT_FALSE(substantial(tokens(u"一二三四五六七"_s)));
    EXPECT_TRUE(substantial(tokens(u"a b c"_s)));
    EXPECT_FALSE(substantial(tokens(u"a b"_s)));
}

TEST(TokensTest, SevenChineseCharactersAndThreeWordsAreSubstantial) {
    EXPECT_TRUE(substantial(tokens(u"一二三四五六七 a b c"_s)));
    EXPECT_FALSE(substantial(tokens(u"一二三四五六七 a b"_s)));
}

TEST(TokensTest, ShortIsFourWordsOrSixCharacters) {
    EXPECT_TRUE(isShort(u"thank you very much"_s));
    EXPECT_FALSE(isShort(u"thank you so very much"_s));
    EXPECT_TRUE(isShort(u"a b c d e f"_s));
    EXPECT_FALSE(isShort(u"a b c d e fg"_s));
    EXPECT_TRUE(isShort(u"這是一句沒有空白的長長的中文句子"_s));
    EXPECT_TRUE(isShort(u"..."_s));
}

TEST(TokensTest, FindGivesTheFirstPlace) {
    EXPECT_EQ(find(QStringList{u"b"_s}, QStringList{u"a"_s, u"b"_s, u"b"_s}), 1U);
    EXPECT_EQ(find(QStringList{u"a"_s, u"c"_s}, QStringList{u"a"_s, u"b"_s, u"c"_s}), std::nullopt);
    EXPECT_EQ(find(QStringList{}, QStringList{u"a"_s}), std::nullopt);
    EXPECT_EQ(find(QStringList{u"a"_s, u"a"_s}, QStringList{u"a"_s}), std::nullopt);
}

// ---- Length and hallucinations

TEST(ClampToLengthTest, ASegmentAtTheEndIsDroppedAndOneJustBeforeItIsCut) {
    const std::vector segments{said(9.99, 12, u"in"_s), said(10, 11, u"out"_s), said(3, 4, u"whole"_s)};
    const auto clamped = clampToLength(segments, 10.0);
    EXPECT_EQ(clamped, (std::vector{said(9.99, 10, u"in"_s), said(3, 4, u"whole"_s)}));
    EXPECT_EQ(clampToLength(segments, std::nullopt), segments);
    EXPECT_EQ(clampToLength(segments, 0.0), segments);
    EXPECT_EQ(clampToLength(segments, -1.0), segments);
}

TEST(DropHallucinationsTest, ThreeShortRepetitionsLeaveTheFirst) {
    const std::vector segments{said(1, 2, u"thank you."_s), said(3, 4, u"thank you."_s), said(5, 6, u"thank you."_s)};
    EXPECT_EQ(dropHallucinations(segments), std::vector{segments[0]});
}

TEST(DropHallucinationsTest, RepetitionsMoreThanFiveSecondsApartStay) {
    const auto repeated = [](double gap) {
        std::vector<WhisperSegment> segments;
        for (int i = 0; i < 3; ++i) {
            const double start = i * (1 + gap);
            segments.push_back(said(start, start + 1, u"thank you."_s));
        }
        return dropHallucinations(segments).size();
    };
    EXPECT_EQ(repeated(5.0), 1U);
    EXPECT_EQ(repeated(5.01), 3U);
    EXPECT_EQ(repeated(6), 3U);
}

TEST(DropHallucinationsTest, PunctuationAndCaseDoNotMakeADifferenceAndTheFirstKeepsItsText) {
    const std::vector segments{said(1, 2, u"Thank you!"_s), said(3, 4, u"thank you"_s), said(5, 6, u"THANK YOU..."_s)};
    EXPECT_EQ(texts(dropHallucinations(segments)), QStringList{u"Thank you!"_s});
}

TEST(DropHallucinationsTest, ADifferentSegmentBetweenMakesTwoRuns) {
    const std::vector segments{said(1, 2, u"ok"_s), said(3, 4, u"ok"_s), said(5, 6, u"well"_s), said(7, 8, u"ok"_s)};
    EXPECT_EQ(dropHallucinations(segments), segments);
}

TEST(DropHallucinationsTest, TwoShortAndThreeLongRepetitionsStay) {
    const std::vector twice{said(1, 2, u"ok"_s), said(3, 4, u"ok"_s)};
    EXPECT_EQ(dropHallucinations(twice), twice);
    const QString sentence = u"one two three four five"_s;
    const std::vector thrice{said(1, 2, sentence), said(3, 4, sentence), said(5, 6, sentence)};
    EXPECT_EQ(dropHallucinations(thrice), thrice);
}

TEST(DropHallucinationsTest, TheLengthAndTheProbabilityHaveTheirLimits) {
    EXPECT_EQ(dropHallucinations(std::vector{said(0, 0.3, u"a"_s)}).size(), 1U);
    EXPECT_EQ(dropHallucinations(std::vector{said(0, 0.29, u"a"_s)}).size(), 0U);
    EXPECT_EQ(dropHallucinations(std::vector{said(0, 1, u"a"_s, 0.6)}).size(), 1U);
    EXPECT_EQ(dropHallucinations(std::vector{said(0, 1, u"a"_s, 0.601)}).size(), 0U);
    EXPECT_EQ(dropHallucinations(std::vector{said(0, 1, u" \n "_s)}).size(), 0U);
}

TEST(DropHallucinationsTest, WhatTheFilterTookNoLongerSeparatesARun) {
    const std::vector segments{said(1, 2, u"ok"_s), said(2, 2.1, u"x"_s), said(3, 4, u"ok"_s), said(5, 6, u"ok"_s)};
    EXPECT_EQ(dropHallucinations(segments).size(), 1U);
}

TEST(DropHallucinationsTest, ReversedTimesFailTheShortestLength) {
    const auto output =
        WhisperOutput::parse(R"({"segments":[{"start":5,"end":2,"text":"back"},{"start":-3,"text":"no end"}]})");
    ASSERT_TRUE(output);
    EXPECT_TRUE(dropHallucinations(output->segments).empty());
}

// ---- Leaks

TEST(IsLeakTest, AShortWordIsALeakOnlyAtTheSameMoment) {
    EXPECT_FALSE(isLeak(said(1, 1.5, u"ok"_s), std::vector{said(3, 3.5, u"ok"_s)}));
    EXPECT_TRUE(isLeak(said(1, 1.5, u"ok"_s), std::vector{said(1.2, 1.7, u"OK."_s)}));
    EXPECT_FALSE(isLeak(said(1, 1.5, u"ok"_s), std::vector{said(1.5, 2, u"ok"_s)}));
    EXPECT_FALSE(isLeak(said(1.5, 2, u"ok"_s), std::vector{said(1, 1.5, u"ok"_s)}));
}

TEST(IsLeakTest, AShortSegmentMustBeNearlyTheSame) {
    // 9 of 10 characters each: 0.9 is enough; below it is not.
    const std::vector near{said(0, 5, u"一二三四五六七"_s)};
    EXPECT_TRUE(isLeak(said(0, 5, u"一二三四五六七"_s), near));
    EXPECT_TRUE(isLeak(said(0, 5, u"一二三四五六"_s), near)); // 12/13
    EXPECT_FALSE(isLeak(said(0, 5, u"一二三四五"_s), near));  // 10/12
}

TEST(IsLeakTest, ASubstantialSegmentIsComparedWithAllThatIsNear) {
    EXPECT_TRUE(isLeak(said(1, 3, words(0, 10)), std::vector{said(4, 6, words(0, 10))}));
    EXPECT_TRUE(isLeak(said(1, 3, words(0, 8) + u" x y"_s), std::vector{said(4, 6, words(0, 10))}));    // 16/20
    EXPECT_FALSE(isLeak(said(1, 3, words(0, 7) + u" x y z"_s), std::vector{said(4, 6, words(0, 10))})); // 14/20
}

TEST(IsLeakTest, AContainedSentenceMustMakeUpSixTenths) {
    const auto heard = said(0, 3, words(2, 10));
    EXPECT_TRUE(isLeak(heard, std::vector{said(10, 13, words(0, 15))}));
    EXPECT_TRUE(isLeak(heard, std::vector{said(10, 13, words(0, 16))}));  // 9.6
    EXPECT_FALSE(isLeak(heard, std::vector{said(10, 13, words(0, 17))})); // 10.2
    EXPECT_FALSE(isLeak(heard, std::vector{said(10, 13, words(0, 20))}));
}

TEST(IsLeakTest, ASentenceAcrossTheBoundaryOfTwoSegmentsIsALeak) {
    const auto heard = said(0, 5, words(4, 9));
    EXPECT_TRUE(isLeak(heard, std::vector{said(0, 2, words(0, 7)), said(2, 5, words(7, 8))})); // 15 * 0.6 = 9
    EXPECT_TRUE(isLeak(heard, std::vector{said(2, 5, words(7, 8)), said(0, 2, words(0, 7))})); // in any order
    EXPECT_FALSE(isLeak(heard, std::vector{said(10, 12, words(0, 7)), said(12, 15, words(7, 9))}));
}

TEST(IsLeakTest, TheOverlappingSegmentsTogetherAreComparedToo) {
    // Neither alone is alike, and a missing word breaks the run; both together are alike.
    const auto heard = said(0, 6, words(0, 4) + u" x "_s + words(5, 5));
    EXPECT_TRUE(isLeak(heard, std::vector{said(0, 3, words(0, 5)), said(3, 6, words(5, 5))}));
    EXPECT_FALSE(isLeak(heard, std::vector{said(0, 3, words(0, 5)), said(6, 9, words(5, 5))}));
    EXPECT_FALSE(isLeak(heard, std::vector{said(7, 8, words(0, 5)), said(8, 9, words(5, 5))}));
}

TEST(IsLeakTest, NothingHeardOrNothingNearIsNoLeak) {
    EXPECT_FALSE(isLeak(said(0, 1, u"..."_s), std::vector{said(0, 1, u"..."_s)}));
    EXPECT_FALSE(isLeak(said(0, 1, u"a b c"_s), {}));
}

TEST(RemoveLeaksTest, TheMarginIsTwoSecondsOnBothSides) {
    const auto keptWhen = [](double systemStart) {
        return !removeLeaks(std::vector{said(10, 12, words(0, 5))},
                            std::vector{said(systemStart, systemStart + 1, words(0, 5))})
                    .empty();
    };
    EXPECT_FALSE(keptWhen(14.0));
    EXPECT_TRUE(keptWhen(14.01));
    EXPECT_FALSE(keptWhen(7.0));
    EXPECT_TRUE(keptWhen(6.99));
}

TEST(RemoveLeaksTest, EqualsAComparisonOfEveryPair) {
    std::mt19937 random(5);
    const auto track = [&](std::size_t count) {
        std::vector<WhisperSegment> segments;
        for (std::size_t i = 0; i < count; ++i) {
            const double start = static_cast<double>(random() % 600) / 10;
            const double length = random() % 50 == 0 ? 40 : static_cast<double>(random() % 60) / 10;
            segments.push_back(
                said(start, start + length, words(static_cast<int>(random() % 6), 1 + static_cast<int>(random() % 9))));
        }
        return segments;
    };
    for (int round = 0; round < 30; ++round) {
        const auto mic = track(40);
        const auto system = track(40);
        std::vector<WhisperSegment> expected;
        for (const auto& heard : mic) {
            std::vector<WhisperSegment> near;
            for (const auto& played : system) {
                if (played.start <= heard.end + 2.0 && played.end >= heard.start - 2.0) {
                    near.push_back(played);
                }
            }
            if (!isLeak(heard, near)) {
                expected.push_back(heard);
            }
        }
        ASSERT_EQ(removeLeaks(mic, system), expected);
    }
}

// ---- The whole

TEST(CleanTest, OneTrackAloneHasNoLeaks) {
    const auto segments = clean(std::vector{said(0, 2, u" hello there "_s)}, {}, 10.0, Merge::Yes);
    EXPECT_EQ(segments, (std::vector<Transcript::Segment>{{0, 2, u"me"_s, u"hello there"_s}}));
    EXPECT_EQ(clean({}, std::vector{said(0, 2, u"hi"_s)}, 10.0, Merge::Yes)[0].speaker, u"them"_s);
    EXPECT_TRUE(clean({}, {}, std::nullopt, Merge::Yes).empty());
}

TEST(CleanTest, AtTheSameStartMeComesFirst) {
    const auto segments = clean(std::vector{said(1, 2, u"mine alone"_s), said(0, 1, u"early"_s)},
                                std::vector{said(1, 2, u"something else"_s)}, std::nullopt, Merge::No);
    ASSERT_EQ(segments.size(), 3U);
    EXPECT_EQ(segments[0].text, u"early"_s);
    EXPECT_EQ(segments[1].speaker, u"me"_s);
    EXPECT_EQ(segments[2].speaker, u"them"_s);
}

TEST(CleanTest, LeaksAreFoundAgainstTheCleanedSystemTrack) {
    // The system's copy is dropped as improbable, so the microphone's stays.
    const auto segments =
        clean(std::vector{said(0, 3, words(0, 6))}, std::vector{said(0, 3, words(0, 6), 0.9)}, std::nullopt, Merge::No);
    ASSERT_EQ(segments.size(), 1U);
    EXPECT_EQ(segments[0].speaker, u"me"_s);
}

TEST(CleanTest, MergingIsForMeetingsOnly) {
    const std::vector mic{said(0, 1, u"one"_s), said(2, 3, u"two"_s)};
    EXPECT_EQ(clean(mic, {}, std::nullopt, Merge::No).size(), 2U);
    const auto merged = clean(mic, {}, std::nullopt, Merge::Yes);
    ASSERT_EQ(merged.size(), 1U);
    EXPECT_EQ(merged[0].text, u"one two"_s);
}

TEST(LanguageTest, ATieGoesToTheSystemAndAMissingLanguageToTheOther) {
    const auto output = [](std::optional<QString> language, const QString& text) {
        return std::optional(WhisperOutput{std::move(language), {said(0, 1, text)}});
    };
    EXPECT_EQ(language(output(u"zh"_s, u"ab"_s), output(u"en"_s, u"cd"_s)), u"en"_s);
    EXPECT_EQ(language(output(u"zh"_s, u"abc"_s), output(u"en"_s, u"cd"_s)), u"zh"_s);
    EXPECT_EQ(language(output(u"zh"_s, u"ab"_s), output(std::nullopt, u"cd"_s)), u"zh"_s);
    EXPECT_EQ(language(output(std::nullopt, u"abc"_s), output(u"en"_s, u"cd"_s)), u"en"_s);
    EXPECT_EQ(language(std::nullopt, std::nullopt), std::nullopt);
    EXPECT_EQ(language(output(u"zh"_s, u"a"_s), std::nullopt), u"zh"_s);
    EXPECT_EQ(language(std::nullopt, output(u"en"_s, u""_s)), u"en"_s);
}

} // namespace
