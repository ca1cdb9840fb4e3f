#include "adapter/Speech.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using adapter::Piece;
using adapter::pieces;
using adapter::Range;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::vector<Range>> cut(const std::vector<Range>& ranges, const std::vector<float>& levels = {}) {
    std::vector<std::vector<Range>> result;
    for (const auto& piece : pieces(ranges, levels)) {
        result.push_back(piece.ranges());
    }
    return result;
}

} // namespace

TEST(SpeechTest, AMomentInAPieceIsFoundInTheTrack) {
    const Piece piece({{10, 15}, {100, 110}});
    EXPECT_EQ(piece.length(), 15.0);
    EXPECT_EQ(piece.startInTrack(0), 10.0);
    EXPECT_EQ(piece.startInTrack(4.5), 14.5);
    EXPECT_EQ(piece.startInTrack(6), 101.0);
    EXPECT_EQ(piece.endInTrack(6), 101.0);
}

TEST(SpeechTest, AtASeamAStartBelongsBehindItAndAnEndBeforeIt) {
    const Piece piece({{10, 15}, {100, 110}});
    EXPECT_EQ(piece.startInTrack(5), 100.0);
    EXPECT_EQ(piece.endInTrack(5), 15.0);
}

TEST(SpeechTest, AMomentOutsideThePieceIsItsBeginningOrEnd) {
    const Piece piece({{10, 15}});
    EXPECT_EQ(piece.startInTrack(-1), 10.0);
    EXPECT_EQ(piece.endInTrack(-1), 10.0);
    EXPECT_EQ(piece.startInTrack(1e300), 15.0);
    EXPECT_EQ(piece.endInTrack(6), 15.0);
    EXPECT_EQ(Piece().startInTrack(3), 0.0);
    EXPECT_EQ(Piece().endInTrack(3), 0.0);
}

TEST(SpeechTest, NothingGivesNoPiece) {
    EXPECT_THAT(cut({}), IsEmpty());
}

TEST(SpeechTest, StretchesThatFitStandInOnePiece) {
    EXPECT_THAT(cut({{0, 20}, {30, 50}}), ElementsAre(ElementsAre(Range{0, 20}, Range{30, 50})));
}

TEST(SpeechTest, TheFirstPieceIsShortTheOthersAreLong) {
    EXPECT_THAT(cut({{0, 40}, {100, 130}, {200, 700}, {800, 900}}),
                ElementsAre(ElementsAre(Range{0, 40}), ElementsAre(Range{100, 130}, Range{200, 700}),
                            ElementsAre(Range{800, 900})));
}

TEST(SpeechTest, AStretchThatIsTooLongIsDividedAtItsQuietestMoment) {
    std::vector<float> levels(10'000, -20.0F);
    std::fill(levels.begin() + 2740, levels.begin() + 2760, -50.0F); // at 55 seconds
    const auto result = cut({{0, 200}}, levels);
    ASSERT_EQ(result.size(), 2U);
    EXPECT_NEAR(result[0].front().end, 55.0, 0.2);
    EXPECT_EQ(result[1].front().start, result[0].front().end);
    EXPECT_EQ(result[1].front().end, 200.0);
}

TEST(SpeechTest, WithoutLevelsAStretchIsDividedWhereItMustBe) {
    EXPECT_THAT(cut({{0, 700}}),
                ElementsAre(ElementsAre(Range{0, 60}), ElementsAre(Range{60, 660}), ElementsAre(Range{660, 700})));
}

TEST(SpeechTest, ALittleTooLongIsNotDivided) {
    EXPECT_THAT(cut({{0, 65}}), ElementsAre(ElementsAre(Range{0, 65})));
}

TEST(SpeechTest, AWholeDayIsCutWithoutAnythingLost) {
    const auto result = cut({{0, 86'400}});
    double at = 0;
    for (const auto& piece : result) {
        for (const auto& range : piece) {
            EXPECT_EQ(range.start, at);
            EXPECT_LE(range.length(), adapter::pieceSeconds + 5.0);
            at = range.end;
        }
    }
    EXPECT_EQ(at, 86'400.0);
}
