#include "adapter/CommandLine.h"

#include "ai/TranscribeStep.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

using adapter::parseCommandLine;
using adapter::Request;
using testing::HasSubstr;

namespace {

std::string complaint(const std::vector<std::string>& arguments) {
    const auto request = parseCommandLine(arguments);
    EXPECT_FALSE(request.has_value());
    return request ? std::string() : request.error();
}

} // namespace

TEST(CommandLineTest, TheRecordersOwnCommandLineIsUnderstood) {
    EXPECT_EQ(parseCommandLine(ai::AIPipeline::whisperArguments("/a/mic.m4a", "/tmp/x", "mic", true)),
              (Request{.audio = "/a/mic.m4a",
                       .outputDir = "/tmp/x",
                       .outputName = "mic",
                       .model = "mlx-community/whisper-large-v3-turbo",
                       .initialPrompt = std::string(ai::AIPipeline::practiceInitialPrompt),
                       .language = {}}));
}

TEST(CommandLineTest, AnAudioFileAloneIsEnough) {
    const std::vector<std::string> arguments{"talks/one.m4a"};
    const auto request = parseCommandLine(arguments);
    ASSERT_TRUE(request);
    EXPECT_EQ(request->outputName, "one");
    EXPECT_EQ(request->outputDir, ".");
}

TEST(CommandLineTest, ALanguageCanBeGiven) {
    const std::vector<std::string> arguments{"--language", "zh", "a.m4a"};
    EXPECT_EQ(parseCommandLine(arguments)->language, "zh");
}

TEST(CommandLineTest, WhatIsNotUnderstoodIsRefused) {
    EXPECT_THAT(complaint({}), HasSubstr("AUDIO"));
    EXPECT_THAT(complaint({"a", "b"}), HasSubstr("one audio file"));
    EXPECT_THAT(complaint({"a", "--task", "translate"}), HasSubstr("no option --task"));
    EXPECT_THAT(complaint({"a", "--model"}), HasSubstr("--model needs a value"));
    EXPECT_THAT(complaint({"a", "--output-format", "srt"}), HasSubstr("json, not srt"));
    EXPECT_THAT(complaint({"a", "--condition-on-previous-text", "True"}), HasSubstr("only be False"));
    EXPECT_THAT(complaint({"a", "--output-name", "../b"}), HasSubstr("not a path"));
}
