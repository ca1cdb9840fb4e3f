#include "ai/ClaudeReply.h"

#include "copy/Strings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using ai::AIFailure;
using ai::AIStep;
using ai::AIPipeline::parseReply;
namespace Strings = copy::Strings;

namespace {

QString why(QByteArrayView bytes) {
    const auto reply = parseReply(bytes);
    EXPECT_FALSE(reply.has_value()) << bytes.data();
    EXPECT_EQ(reply.error().step, AIStep::Summarize);
    return reply.error().message;
}

QString conclusion(QByteArrayView bytes) {
    const auto reply = parseReply(bytes);
    EXPECT_TRUE(reply.has_value()) << bytes.data();
    const auto* text = reply ? reply->find(u"conclusion") : nullptr;
    return text != nullptr ? text->toString().value_or(QString()) : QString();
}

} // namespace

TEST(ClaudeReplyTest, TheCommandLineIsFixedButForTheSchema) {
    EXPECT_THAT(ai::AIPipeline::claudeArguments("SCHEMA"),
                testing::ElementsAre("-p", "--safe-mode", "--tools", "", "--max-turns", "1", "--no-session-persistence",
                                     "--output-format", "json", "--json-schema", "SCHEMA"));
}

TEST(ClaudeReplyTest, TheToolMayTakeTenMinutes) {
    EXPECT_EQ(ai::AIPipeline::claudeTimeout, 600.0);
}

TEST(ClaudeReplyTest, StructuredOutputIsTheReplyWhateverElseIsThere) {
    EXPECT_EQ(conclusion(R"({"is_error": true, "result": "no", "structured_output": {"conclusion": "yes"}})"),
              u"yes"_s);
}

TEST(ClaudeReplyTest, StructuredOutputThatIsNoObjectIsPassedOver) {
    EXPECT_EQ(conclusion(R"({"structured_output": "x", "result": "{\"conclusion\": \"yes\"}"})"), u"yes"_s);
}

TEST(ClaudeReplyTest, TheResultTextIsReadAsJson) {
    EXPECT_EQ(conclusion(R"({"result": " \n{\"conclusion\": \"yes\"}\n "})"), u"yes"_s);
}

TEST(ClaudeReplyTest, AFencedBlockIsTakenApart) {
    EXPECT_EQ(conclusion(R"({"result": "```json\n{\"conclusion\":\n\n\"yes\"}\n```"})"), u"yes"_s);
    EXPECT_EQ(conclusion(R"({"result": "\n```\n{\"conclusion\": \"yes\"}\n```json\n"})"), u"yes"_s);
    EXPECT_EQ(why(R"({"result": "``{}``"})"), Strings::aiErrClaudeOutput);
    EXPECT_EQ(why(R"({"result": "```{\"conclusion\": \"on the fence line\"}\n```"})"), Strings::aiErrClaudeOutput);
}

TEST(ClaudeReplyTest, AnErrorIsToldInTheToolsWords) {
    EXPECT_EQ(why(R"({"is_error": true, "result": "no credit", "subtype": "s"})"), u"Claude 出錯：no credit"_s);
    EXPECT_EQ(why(R"({"is_error": true, "result": "", "subtype": "error_max_turns"})"),
              u"Claude 出錯：error_max_turns"_s);
    EXPECT_EQ(why(R"({"is_error": true, "result": 5})"), u"Claude 出錯：?"_s);
    EXPECT_EQ(why(R"({"is_error": true})"), u"Claude 出錯：?"_s);
    EXPECT_EQ(why(R"({"is_error": true, "result": "100% of %@"})"), u"Claude 出錯：100% of %@"_s);
}

TEST(ClaudeReplyTest, OnlyTrueMeansAnError) {
    EXPECT_EQ(conclusion(R"({"is_error": false, "result": "{\"conclusion\": \"yes\"}"})"), u"yes"_s);
    EXPECT_EQ(conclusion(R"({"is_error": "true", "result": "{\"conclusion\": \"yes\"}"})"), u"yes"_s);
}

TEST(ClaudeReplyTest, WhatCannotBeReadIsUnreadable) {
    for (const char* bytes : {"", "x", "[]", "null", "{}", R"({"result": null})", R"({"result": {"conclusion": "x"}})",
                              R"({"result": ""})", R"({"result": "words"})", R"({"result": "[]"})",
                              R"({"result": "{"})", "\xff\xfe{}", R"({"result": "{}"} more)"}) {
        EXPECT_EQ(why(bytes), Strings::aiErrClaudeOutput) << bytes;
    }
}

TEST(ClaudeReplyTest, MoreThanTheLimitIsUnreadable) {
    QByteArray bytes = R"({"structured_output": {"conclusion": "yes"}})";
    bytes.append(ai::AIPipeline::replyLimit - bytes.size(), ' ');
    EXPECT_EQ(conclusion(bytes), u"yes"_s);
    EXPECT_EQ(why(QByteArray(bytes + ' ')), Strings::aiErrClaudeOutput);
}

TEST(ClaudeReplyTest, HostileDepthIsUnreadable) {
    EXPECT_EQ(why(QByteArray("{\"structured_output\":" + QByteArray(100'000, '['))), Strings::aiErrClaudeOutput);
}
