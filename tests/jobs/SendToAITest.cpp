#include "jobs/SendToAI.h"

#include <gtest/gtest.h>

#include <vector>

using namespace Qt::StringLiterals;
using ai::AIRequest;
using ai::AIStatus;
using copy::MainCopy;
using jobs::SendToAI::State;
using Kind = State::Kind;
namespace SendToAI = jobs::SendToAI;

namespace {

State meeting(const QString& notes, bool working = false, const std::optional<QString>& blocked = {}) {
    return SendToAI::state(notes, working, blocked, false);
}

const AIStatus failed = AIStatus::failed(ai::AIStep::Summarize, u"why"_s, {});

struct Calls {
    QStringList saved;
    std::vector<AIRequest> requests;
    std::optional<base::FileError> refuses;

    std::expected<bool, base::FileError> send(const QString& notes, bool practice) {
        return SendToAI::send(
            "/m", notes, practice,
            [this](const QString& text) -> std::expected<void, base::FileError> {
                EXPECT_TRUE(requests.empty()) << "the notes come first";
                saved.append(text);
                return refuses ? std::expected<void, base::FileError>(std::unexpected(*refuses))
                               : std::expected<void, base::FileError>();
            },
            [this](const AIRequest& request) { requests.push_back(request); });
    }
};

} // namespace

TEST(SendToAITest, NotesAreReadyToBeSent) {
    EXPECT_EQ(meeting(u"x"_s), (State{Kind::Ready, {}}));
}

TEST(SendToAITest, NotesOfBlanksAreEmptyForAMeetingAndReadyForAPracticeTake) {
    EXPECT_EQ(meeting(u" \n\t"_s).kind, Kind::Empty);
    EXPECT_EQ(SendToAI::state(u" \n\t"_s, false, {}, true).kind, Kind::Ready);
    EXPECT_EQ(SendToAI::state({}, false, {}, true).kind, Kind::Ready);
}

TEST(SendToAITest, WorkingGoesBeforeEmptyAndEmptyBeforeBlocked) {
    EXPECT_EQ(meeting({}, true, u"why"_s).kind, Kind::Working);
    EXPECT_EQ(meeting({}, false, u"why"_s).kind, Kind::Empty);
    EXPECT_EQ(meeting(u"x"_s, false, u"why"_s), (State{Kind::Blocked, u"why"_s}));
    EXPECT_EQ(SendToAI::state({}, false, u"why"_s, true), (State{Kind::Blocked, u"why"_s}));
}

TEST(SendToAITest, TheTitleSaysWhenItWorks) {
    EXPECT_EQ(SendToAI::title({Kind::Working, {}}, MainCopy::en), u"Sent, AI is rewriting"_s);
    for (const auto kind : {Kind::Blocked, Kind::Empty, Kind::Ready}) {
        EXPECT_EQ(SendToAI::title({kind, {}}, MainCopy::en), u"Send to AI"_s);
    }
    EXPECT_EQ(SendToAI::title({Kind::Ready, {}}, MainCopy::zh), u"送給 AI"_s);
}

TEST(SendToAITest, NoWorkHasNoLine) {
    EXPECT_EQ(SendToAI::workingLine({}, 10.0, MainCopy::en), std::nullopt);
    EXPECT_EQ(SendToAI::workingLine(failed, 10.0, MainCopy::en), std::nullopt);
}

TEST(SendToAITest, WaitingWorkSaysSoWhateverRemains) {
    EXPECT_EQ(SendToAI::workingLine(AIStatus::queued(), {}, MainCopy::en),
              u"Sent, AI is rewriting · waiting for the one before"_s);
    EXPECT_EQ(SendToAI::workingLine(AIStatus::queued(), 10.0, MainCopy::zh), u"送出了，AI 在重寫 · 等前一場做完"_s);
}

TEST(SendToAITest, WithoutAnEstimateTheLineIsShort) {
    for (const auto& status : {AIStatus::transcribing(), AIStatus::summarizing()}) {
        EXPECT_EQ(SendToAI::workingLine(status, {}, MainCopy::en), u"Sent, AI is rewriting"_s);
    }
}

TEST(SendToAITest, TranscribingCountsInMinutesSummarizingInSeconds) {
    const auto line = [](const AIStatus& status, double remaining) {
        return SendToAI::workingLine(status, remaining, MainCopy::zh).value_or(QString());
    };
    EXPECT_EQ(line(AIStatus::transcribing(), 120.0), u"送出了，AI 在重寫 · 大約還要 2 分鐘"_s);
    EXPECT_EQ(line(AIStatus::transcribing(), 20.0), u"送出了，AI 在重寫 · 不到 1 分鐘"_s);
    EXPECT_EQ(line(AIStatus::summarizing(), 20.0), u"送出了，AI 在重寫 · 大約 20 秒"_s);
    EXPECT_EQ(line(AIStatus::summarizing(), -1.0), u"送出了，AI 在重寫 · 快好了"_s);
}

TEST(SendToAITest, SendingSavesTheNotesAsTheyAreAndAsksForASummaryOfTheSameTranscript) {
    Calls calls;
    EXPECT_EQ(calls.send(u" x \n"_s, false), true);
    EXPECT_EQ(calls.saved, QStringList{u" x \n"_s});
    EXPECT_EQ(
        calls.requests,
        (std::vector<AIRequest>{
            {.folder = "/m", .transcribe = AIRequest::Transcribe::IfMissing, .summarize = true, .automatic = false}}));
}

TEST(SendToAITest, EmptyNotesOfAMeetingAreNeitherSavedNorSent) {
    Calls calls;
    EXPECT_EQ(calls.send(u" \n"_s, false), false);
    EXPECT_TRUE(calls.saved.isEmpty());
    EXPECT_TRUE(calls.requests.empty());
}

TEST(SendToAITest, EmptyNotesOfAPracticeTakeAreSaved) {
    Calls calls;
    EXPECT_EQ(calls.send({}, true), true);
    EXPECT_EQ(calls.saved.size(), 1);
    EXPECT_EQ(calls.requests.size(), 1U);
}

TEST(SendToAITest, NotesThatCannotBeSavedAreNotSent) {
    Calls calls;
    calls.refuses = base::fileError(28);
    const auto result = calls.send(u"x"_s, false);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), base::fileError(28));
    EXPECT_TRUE(calls.requests.empty());
}
