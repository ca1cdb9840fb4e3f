#include "adapter/EngineRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using adapter::EngineTask;
using adapter::Request;
using ai::SpeechEngine;
using ai::SpeechModel;
using testing::ElementsAre;
using Kind = SpeechEngine::Kind;

namespace {

std::vector<std::string> arguments(Kind kind, const Request& request,
                                   const SpeechModel& model = {"small", "/m", 1.0, false}) {
    const SpeechEngine engine{.kind = kind, .program = "/p", .models = {model}};
    return adapter::engineArguments(
        {.engine = engine, .model = model, .sound = "/w/piece.wav", .folder = "/w", .threads = 3}, request);
}

const Request plain{
    .audio = "/a.m4a", .outputDir = "/o", .outputName = "mic", .model = {}, .initialPrompt = {}, .language = {}};
const Request full{
    .audio = "/a.m4a", .outputDir = "/o", .outputName = "mic", .model = {}, .initialPrompt = "Um.", .language = "zh"};

} // namespace

TEST(EngineRunTest, WhisperCppIsAskedForJsonAndToTellTheLanguage) {
    EXPECT_THAT(arguments(Kind::WhisperCpp, plain), ElementsAre("-m", "/m", "-f", "/w/piece.wav", "-l", "auto", "-t",
                                                                "3", "-mc", "0", "-oj", "-of", "/w/engine"));
    EXPECT_THAT(arguments(Kind::WhisperCpp, full),
                ElementsAre("-m", "/m", "-f", "/w/piece.wav", "-l", "zh", "-t", "3", "-mc", "0", "-oj", "-of",
                            "/w/engine", "--prompt", "Um."));
}

TEST(EngineRunTest, AModelForEnglishAloneIsToldSo) {
    const SpeechModel english{"base.en", "/m", 1.0, true};
    EXPECT_THAT(arguments(Kind::WhisperCpp, full, english), testing::Contains("en"));
    EXPECT_THAT(arguments(Kind::OpenAIWhisper, plain, english), testing::IsSupersetOf({"--language", "en"}));
}

TEST(EngineRunTest, WhisperIsGivenTheModelsFile) {
    EXPECT_THAT(arguments(Kind::OpenAIWhisper, full),
                ElementsAre("/w/piece.wav", "--model", "/m", "--fp16", "False", "--device", "cpu", "--threads", "3",
                            "--output_format", "json", "--output_dir", "/w", "--condition_on_previous_text", "False",
                            "--verbose", "False", "--language", "zh", "--initial_prompt", "Um."));
}

TEST(EngineRunTest, CTranslate2IsGivenTheModelsFolder) {
    EXPECT_THAT(arguments(Kind::WhisperCTranslate2, plain),
                ElementsAre("/w/piece.wav", "--model_directory", "/m", "--compute_type", "int8", "--device", "cpu",
                            "--threads", "3", "--output_format", "json", "--output_dir", "/w",
                            "--condition_on_previous_text", "False", "--verbose", "False"));
}

TEST(EngineRunTest, SphinxIsGivenItsThreeFiles) {
    EXPECT_THAT(arguments(Kind::PocketSphinx, full, {"en-us", "/m", 0.3, true}),
                ElementsAre("-infile", "/w/piece.wav", "-time", "yes", "-hmm", "/m/en-us", "-dict",
                            "/m/cmudict-en-us.dict", "-lm", "/m/en-us.lm.bin"));
}
