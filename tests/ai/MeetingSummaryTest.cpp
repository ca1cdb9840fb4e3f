#include "ai/MeetingSummary.h"

#include "copy/UserName.h"

#include <QTimeZone>
#include <gtest/gtest.h>

#include <cstdlib>

using namespace Qt::StringLiterals;
using ai::MeetingSummary;
using Action = MeetingSummary::Action;
using ActionGroup = MeetingSummary::ActionGroup;
using Point = MeetingSummary::Point;

namespace {

class MeetingSummaryTest : public testing::Test {
protected:
    void SetUp() override {
        ::setenv("TARVEX_HOME", "/nonexistent/summary-test", 1); // a name can be forced in test mode only
        copy::UserName::setSelfTestForced(u"Ann"_s);
    }

    void TearDown() override {
        copy::UserName::setSelfTestForced(std::nullopt);
        ::unsetenv("TARVEX_HOME");
    }

    static MeetingSummary parsed(const QByteArray& bytes) {
        const auto summary = MeetingSummary::parse(bytes);
        EXPECT_TRUE(summary.has_value()) << bytes.constData();
        return summary.value_or(MeetingSummary{});
    }

    static Action task(const std::optional<QString>& who, const QString& what, bool mine = false) {
        return {.who = who, .what = what, .due = {}, .mine = mine};
    }
};

} // namespace

TEST_F(MeetingSummaryTest, ReadsEveryField) {
    const auto summary = parsed(R"({"version": 4, "generatedAt": "2026-11-15T16:22:11+08:00", "source": "claude",
        "transcriptGeneratedAt": "2026-11-15T08:00:00Z", "notesIncluded": true, "conclusion": " Done. ",
        "decisions": ["Ship"], "actions": [{"who": "Bob", "what": "Test", "due": "Friday", "mine": false}],
        "points": [{"title": "Launch", "items": ["November"]}], "notes": ["Watch out"]})");
    MeetingSummary expected;
    expected.version = 4;
    expected.generatedAt = QDateTime(QDate(2026, 11, 15), QTime(8, 22, 11), QTimeZone::utc());
    expected.conclusion = u"Done."_s;
    expected.decisions = {u"Ship"_s};
    expected.actions = {{.who = u"Bob"_s, .what = u"Test"_s, .due = u"Friday"_s, .mine = false}};
    expected.points = {{u"Launch"_s, {u"November"_s}}};
    expected.notes = {u"Watch out"_s};
    expected.source = u"claude"_s;
    expected.transcriptGeneratedAt = QDateTime(QDate(2026, 11, 15), QTime(8, 0), QTimeZone::utc());
    expected.notesIncluded = true;
    EXPECT_EQ(summary, expected);
}

TEST_F(MeetingSummaryTest, AnEmptyObjectIsAnEmptySummary) {
    EXPECT_EQ(parsed("{}"), MeetingSummary{});
}

TEST_F(MeetingSummaryTest, WhatIsNoObjectIsNothing) {
    for (const char* bytes : {"", "x", "[]", "null", "\"{}\"", "{", "5"}) {
        EXPECT_EQ(MeetingSummary::parse(bytes), std::nullopt) << bytes;
    }
}

TEST_F(MeetingSummaryTest, MoreThanTheLimitIsNothing) {
    QByteArray bytes = "{}";
    bytes.append(MeetingSummary::sizeLimit - bytes.size(), ' ');
    EXPECT_TRUE(MeetingSummary::parse(bytes));
    EXPECT_FALSE(MeetingSummary::parse(QByteArray(bytes + ' ')));
}

TEST_F(MeetingSummaryTest, EveryFieldOfAnotherTypeCountsAsAbsent) {
    EXPECT_EQ(parsed(R"({"version": [], "generatedAt": 1, "conclusion": 2, "decisions": "x", "actions": {}, "points": 3,
        "notes": null, "source": true, "transcriptGeneratedAt": "soon", "notesIncluded": "yes"})"),
              MeetingSummary{});
}

TEST_F(MeetingSummaryTest, TextsAreTrimmedAndEmptyOnesDropped) {
    const auto summary = parsed(R"({"conclusion": " \n ", "decisions": [" a ", "", " ", 5, null, "b\n"]})");
    EXPECT_EQ(summary.conclusion, std::nullopt);
    EXPECT_EQ(summary.decisions, (QStringList{u"a"_s, u"b"_s}));
}

TEST_F(MeetingSummaryTest, TheVersionIsANumberOrADecimalText) {
    EXPECT_EQ(parsed(R"({"version": 3})").version, 3);
    EXPECT_EQ(parsed(R"({"version": 2.9})").version, 2);
    EXPECT_EQ(parsed(R"({"version": "7"})").version, 7);
    EXPECT_EQ(parsed(R"({"version": "seven"})").version, 1);
    EXPECT_EQ(parsed(R"({"version": ""})").version, 1);
    EXPECT_EQ(parsed(R"({"version": true})").version, 1);
    EXPECT_EQ(parsed(R"({"version": 1e300})").version, 9007199254740992) << "as large as a number can be told exactly";
}

TEST_F(MeetingSummaryTest, BeforeVersionTwoTheAnalysisIsTheOnlyNote) {
    EXPECT_EQ(parsed(R"({"version": 1, "analysis": " Look ", "notes": ["n"]})").notes, QStringList{u"Look"_s});
    EXPECT_EQ(parsed(R"({"analysis": "Look"})").notes, QStringList{u"Look"_s});
    EXPECT_EQ(parsed(R"({"version": 1, "analysis": " ", "notes": ["n"]})").notes, QStringList{});
    EXPECT_EQ(parsed(R"({"version": 2, "analysis": "Look", "notes": ["n"]})").notes, QStringList{u"n"_s});
    EXPECT_EQ(parsed(R"({"version": 4, "analysis": "Look"})").notes, QStringList{});
}

TEST_F(MeetingSummaryTest, PointsCanBePlainTexts) {
    EXPECT_EQ(parsed(R"({"points": [" a ", "", 5, null]})").points, (std::vector<Point>{{{}, {u"a"_s}}}));
}

TEST_F(MeetingSummaryTest, PointsFollowOneRule) {
    EXPECT_EQ(
        parsed(R"({"points": [
                  {"title": "t", "items": [" a ", 1, ""], "text": "b"}, {"title": " ", "items": ["c"]},
                  {"title": "alone"}, {"title": "alone too", "items": []}, {"text": "d"}, {"items": []}, {}]})")
            .points,
        (std::vector<Point>{
            {u"t"_s, {u"a"_s, u"b"_s}}, {{}, {u"c"_s}}, {{}, {u"alone"_s}}, {{}, {u"alone too"_s}}, {{}, {u"d"_s}}}));
}

TEST_F(MeetingSummaryTest, ActionsCanBePlainTexts) {
    EXPECT_EQ(parsed(R"({"actions": [" do it ", " ", 4]})").actions, (std::vector<Action>{task({}, u"do it"_s)}));
}

TEST_F(MeetingSummaryTest, AnActionNeedsToSayWhat) {
    EXPECT_EQ(
        parsed(R"({"actions": [{"who": "Bob"}, {"what": " "}, {"what": 1}, {"what": "x", "who": " ", "due": ""}]})")
            .actions,
        (std::vector<Action>{task({}, u"x"_s)}));
}

TEST_F(MeetingSummaryTest, WithoutMineTheNameDecides) {
    EXPECT_EQ(
        parsed(R"({"actions": [{"who": "ANN", "what": "a"}, {"who": "Anna", "what": "b"}, {"what": "c"},
        {"who": "Ann", "what": "d", "mine": false}, {"who": "Bob", "what": "e", "mine": true},
        {"who": "ann", "what": "f", "mine": "no"}]})")
            .actions,
        (std::vector<Action>{task(u"ANN"_s, u"a"_s, true), task(u"Anna"_s, u"b"_s), task({}, u"c"_s),
                             task(u"Ann"_s, u"d"_s), task(u"Bob"_s, u"e"_s, true), task(u"ann"_s, u"f"_s, true)}));
}

TEST_F(MeetingSummaryTest, TheOwnNameCountsInAnyCaseAndWithBlanksAround) {
    EXPECT_EQ(MeetingSummary::ownName(), u"Ann"_s);
    EXPECT_TRUE(MeetingSummary::isOwnName(u" \tann "_s));
    EXPECT_FALSE(MeetingSummary::isOwnName(u"Ann\n"_s));
    EXPECT_FALSE(MeetingSummary::isOwnName(u"Ann B"_s));
    EXPECT_FALSE(MeetingSummary::isOwnName(u""_s));
    EXPECT_FALSE(MeetingSummary::isOwnName(std::nullopt));
}

TEST_F(MeetingSummaryTest, PointTextsAreAllItemsInOrder) {
    MeetingSummary summary;
    summary.points = {{u"t"_s, {u"a"_s, u"b"_s}}, {{}, {u"c"_s}}};
    EXPECT_EQ(summary.pointTexts(), (QStringList{u"a"_s, u"b"_s, u"c"_s}));
}

TEST_F(MeetingSummaryTest, OwnActionsAreOneGroupUnderTheFirstNameAmongThem) {
    MeetingSummary summary;
    EXPECT_EQ(summary.mineGroup(), std::nullopt);
    summary.actions = {task({}, u"a"_s, true), task(u"Bob"_s, u"b"_s), task(u"Annie"_s, u"c"_s, true)};
    EXPECT_EQ(summary.mineGroup(),
              (ActionGroup{u"Annie"_s, true, {task({}, u"a"_s, true), task(u"Annie"_s, u"c"_s, true)}}));
    summary.actions = {task({}, u"a"_s, true)};
    EXPECT_EQ(summary.mineGroup()->who, u"Ann"_s);
}

TEST_F(MeetingSummaryTest, OthersAreGroupedByNameInAnyCaseInTheOrderOfTheirFirstAction) {
    MeetingSummary summary;
    summary.actions = {task(u"Bob"_s, u"a"_s), task({}, u"b"_s), task(u"Eve"_s, u"c"_s),
                       task(u"bob"_s, u"d"_s), task({}, u"e"_s), task(u"Ann"_s, u"f"_s, true)};
    EXPECT_EQ(summary.otherGroups(),
              (std::vector<ActionGroup>{{u"Bob"_s, false, {task(u"Bob"_s, u"a"_s), task(u"bob"_s, u"d"_s)}},
                                        {{}, false, {task({}, u"b"_s), task({}, u"e"_s)}},
                                        {u"Eve"_s, false, {task(u"Eve"_s, u"c"_s)}}}));
    EXPECT_EQ(summary.actionGroups().front().who, u"Ann"_s);
    EXPECT_EQ(summary.actionGroups().size(), 4U);
    QStringList order;
    for (const auto& action : summary.orderedActions()) {
        order.append(action.what);
    }
    EXPECT_EQ(order.join(u""_s), u"fadbec"_s);
    EXPECT_EQ(summary.mineActions().size(), 1U);
    EXPECT_EQ(summary.otherActions().size(), 5U);
}

TEST_F(MeetingSummaryTest, APointsLineHasItsTitleInFront) {
    EXPECT_EQ(MeetingSummary::pointLine({u"Launch"_s, {u"a"_s, u"b"_s}}), u"Launch：a b"_s);
    EXPECT_EQ(MeetingSummary::pointLine({{}, {u"a"_s}}), u"a"_s);
}

TEST_F(MeetingSummaryTest, ADueTextIsInTheLanguageOfTheCopy) {
    EXPECT_EQ(MeetingSummary::dueText(u"Friday"_s, copy::MainCopy::zh), u"（Friday）"_s);
    EXPECT_EQ(MeetingSummary::dueText(u"Friday"_s, copy::MainCopy::en), u" (Friday)"_s);
}

TEST_F(MeetingSummaryTest, ThePlainTextHasAllFiveSections) {
    MeetingSummary summary;
    summary.conclusion = u"Done."_s;
    summary.decisions = {u"Ship"_s, u"Wait"_s};
    summary.actions = {{.who = u"Bob"_s, .what = u"Test"_s, .due = u"Friday"_s, .mine = false},
                       task(u"Ann"_s, u"Write"_s, true),
                       task({}, u"Clean"_s)};
    summary.points = {{u"Launch"_s, {u"a"_s, u"b"_s}}, {{}, {u"c"_s}}};
    summary.notes = {u"n"_s};
    const auto& copy = copy::MainCopy::en;
    EXPECT_EQ(summary.plainText(copy), copy.conclusion.toString() + u"\nDone.\n\n" + copy.decisions +
                                           u"\n1. Ship\n2. Wait\n\n" + copy.actions +
                                           u"\nAnn:\n- Write\nBob:\n- Test (Friday)\n- Clean\n\n" + copy.points +
                                           u"\n1. Launch：a b\n2. c\n\n" + copy.notes + u"\n1. n");
}

TEST_F(MeetingSummaryTest, AnEmptySectionSaysSo) {
    const auto& copy = copy::MainCopy::zh;
    const QString nothing = u"\n" + copy.nothingHere;
    EXPECT_EQ(MeetingSummary{}.plainText(copy), copy.conclusion.toString() + nothing + u"\n\n" + copy.decisions +
                                                    nothing + u"\n\n" + copy.actions + nothing + u"\n\n" + copy.points +
                                                    nothing + u"\n\n" + copy.notes + nothing);
}
