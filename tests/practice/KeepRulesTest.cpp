#include "practice/KeepRules.h"

#include "practice/PracticeKeepFlow.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

using namespace practice;
using namespace Qt::StringLiterals;
using base::fs::path;

namespace {

constexpr std::array allEvents{
    KeepEvent::Keep,     KeepEvent::Discard,      KeepEvent::WindowClosed, KeepEvent::SwitchedMeeting,
    KeepEvent::Quitting, KeepEvent::NewRecording, KeepEvent::Generate};

TEST(KeepRulesTest, OnlyTheExplicitDiscardDiscards) {
    for (const KeepEvent event : allEvents) {
        EXPECT_EQ(KeepRules::choice(event), event == KeepEvent::Discard ? KeepChoice::Discard : KeepChoice::Keep);
    }
    EXPECT_EQ(choiceName(KeepChoice::Keep), u"keep"_s);
    EXPECT_EQ(choiceName(KeepChoice::Discard), u"discard"_s);
}

TEST(KeepRulesTest, QuittingAndGeneratingQueueNothingThemselves) {
    for (const KeepEvent event : allEvents) {
        EXPECT_EQ(KeepRules::queuesNow(event), event != KeepEvent::Quitting && event != KeepEvent::Generate);
    }
}

class PracticeKeepFlowTest : public testing::Test {
protected:
    PracticeKeepFlowTest() {
        flow.onKeep = [this](const path& folder, KeepEvent event) { kept.emplace_back(folder, event); };
        flow.onDiscard = [this](const path& folder) { discarded.push_back(folder); };
        flow.onChange = [this] { ++changes; };
    }

    PracticeKeepFlow flow;
    std::vector<std::pair<path, KeepEvent>> kept;
    std::vector<path> discarded;
    int changes = 0;
};

TEST_F(PracticeKeepFlowTest, ResolvingWithNothingPendingCallsNobody) {
    EXPECT_EQ(flow.resolve(KeepEvent::Discard), std::nullopt);
    EXPECT_TRUE(kept.empty());
    EXPECT_TRUE(discarded.empty());
    EXPECT_EQ(changes, 0);
}

TEST_F(PracticeKeepFlowTest, AskingForAnotherFolderKeepsTheFirst) {
    flow.ask("/m/a");
    flow.ask("/m/b");
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_EQ(kept[0], std::pair(path("/m/a"), KeepEvent::NewRecording));
    EXPECT_TRUE(flow.isPending("/m/b"));
    EXPECT_FALSE(flow.isPending("/m/a"));
    EXPECT_EQ(changes, 3);
}

TEST_F(PracticeKeepFlowTest, AskingForTheSameFolderAgainOnlyTells) {
    flow.ask("/m/a");
    flow.ask("/m/a");
    EXPECT_TRUE(kept.empty());
    EXPECT_EQ(changes, 2);
}

TEST_F(PracticeKeepFlowTest, ASecondAnswerIsNone) {
    flow.ask("/m/a");
    EXPECT_EQ(flow.resolve(KeepEvent::Discard), KeepChoice::Discard);
    EXPECT_EQ(flow.resolve(KeepEvent::Keep), std::nullopt);
    EXPECT_EQ(discarded, std::vector<path>{"/m/a"});
    EXPECT_TRUE(kept.empty());
}

TEST_F(PracticeKeepFlowTest, QuittingKeepsTheTake) {
    flow.ask("/m/a");
    EXPECT_EQ(flow.resolve(KeepEvent::Quitting), KeepChoice::Keep);
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_FALSE(KeepRules::queuesNow(kept[0].second));
}

TEST_F(PracticeKeepFlowTest, AnAnswerThatRaisesTheNextEventFindsNothingPending) {
    flow.onKeep = [this](const path& folder, KeepEvent event) {
        kept.emplace_back(folder, event);
        EXPECT_EQ(flow.resolve(KeepEvent::WindowClosed), std::nullopt);
    };
    flow.ask("/m/a");
    flow.resolve(KeepEvent::Generate);
    EXPECT_EQ(kept.size(), 1U);
}

TEST_F(PracticeKeepFlowTest, FoldersAreTheSameByTheirStandardizedPath) {
    flow.ask("/m/a");
    EXPECT_TRUE(flow.isPending("/m/b/../a/"));
}

TEST_F(PracticeKeepFlowTest, WorksWithoutAnybodyListening) {
    PracticeKeepFlow alone;
    alone.ask("/m/a");
    EXPECT_EQ(alone.resolve(KeepEvent::Keep), KeepChoice::Keep);
}

} // namespace
