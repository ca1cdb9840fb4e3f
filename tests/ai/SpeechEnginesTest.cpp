#include "ai/SpeechEngines.h"

#include "base/Files.h"
#include "fakes/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using ai::SpeechEngine;
using ai::SpeechModel;
using testing::ElementsAre;
using testing::IsEmpty;
using Kind = SpeechEngine::Kind;
using Path = std::filesystem::path;
namespace SpeechEngines = ai::SpeechEngines;

namespace {

class SpeechEnginesTest : public testing::Test {
protected:
    void file(const Path& path) const {
        std::filesystem::create_directories((machine / path).parent_path());
        ASSERT_TRUE(base::replaceFile(machine / path, "x"));
    }

    void program(const Path& path) const {
        file(path);
        std::filesystem::permissions(machine / path, std::filesystem::perms::owner_all);
    }

    void sphinx() const {
        program("usr/bin/pocketsphinx_continuous");
        for (const char* name : {"en-us/mdef", "cmudict-en-us.dict", "en-us.lm.bin"}) {
            file(Path("usr/share/pocketsphinx/model/en-us") / name);
        }
    }

    std::vector<SpeechEngine> find(const SpeechEngines::Wishes& wishes = {}) const {
        return SpeechEngines::find({.root = machine.path, .home = machine / "home/ann"}, wishes);
    }

    std::vector<std::string> models(const SpeechEngines::Wishes& wishes = {}) const {
        std::vector<std::string> names;
        for (const auto& engine : find(wishes)) {
            for (const auto& model : engine.models) {
                names.push_back(model.name);
            }
        }
        return names;
    }

    fakes::TemporaryFolder machine;
};

} // namespace

TEST_F(SpeechEnginesTest, ABareMachineHasNone) {
    EXPECT_THAT(find(), IsEmpty());
}

TEST_F(SpeechEnginesTest, AProgramWithoutAModelIsNone) {
    program("usr/bin/whisper-cli");
    program("usr/bin/whisper");
    program("usr/bin/whisper-ctranslate2");
    program("usr/bin/pocketsphinx_continuous");
    EXPECT_THAT(find(), IsEmpty());
}

TEST_F(SpeechEnginesTest, AModelWithoutAProgramIsNone) {
    file("home/ann/.local/share/whisper.cpp/ggml-small.bin");
    file("usr/bin/whisper-cli"); // not executable
    EXPECT_THAT(find(), IsEmpty());
}

TEST_F(SpeechEnginesTest, TheEnginesComeBestFirst) {
    sphinx();
    program("home/ann/.local/bin/whisper");
    file("home/ann/.cache/whisper/small.pt");
    program("home/ann/.local/bin/whisper-ctranslate2");
    file("home/ann/.cache/huggingface/hub/models--Systran--faster-whisper-base/snapshots/0a/model.bin");
    program("home/ann/.local/bin/whisper-cli");
    file("home/ann/.local/share/whisper.cpp/ggml-tiny.bin");
    std::vector<Kind> kinds;
    for (const auto& engine : find()) {
        kinds.push_back(engine.kind);
    }
    EXPECT_THAT(kinds,
                ElementsAre(Kind::WhisperCpp, Kind::WhisperCTranslate2, Kind::OpenAIWhisper, Kind::PocketSphinx));
}

TEST_F(SpeechEnginesTest, TheUsersOwnProgramGoesBeforeTheSystems) {
    program("usr/bin/whisper-cli");
    program("home/ann/bin/whisper-cli");
    file("usr/share/whisper.cpp/models/ggml-tiny.bin");
    EXPECT_EQ(find().front().program, machine / "home/ann/bin/whisper-cli");
}

TEST_F(SpeechEnginesTest, ModelsForAllLanguagesComeLargestFirstThenThoseForEnglish) {
    program("usr/bin/whisper-cli");
    for (const char* name :
         {"tiny", "base.en", "large-v3", "small", "large-v3-turbo-q5_0", "large-v3-turbo", "medium.en", "my-own"}) {
        file(Path("home/ann/.local/share/whisper.cpp/models") / ("ggml-" + std::string(name) + ".bin"));
    }
    file("home/ann/.local/share/whisper.cpp/models/ggml-silero-v5.bin");
    file("home/ann/.local/share/whisper.cpp/models/for-tests-ggml-tiny.bin");
    file("home/ann/.local/share/whisper.cpp/models/ggml-.bin");
    EXPECT_THAT(models(), ElementsAre("large-v3-turbo", "large-v3-turbo-q5_0", "large-v3", "small", "tiny", "my-own",
                                      "medium.en", "base.en"));
    EXPECT_TRUE(find().front().models.back().englishOnly);
    EXPECT_FALSE(find().front().models.front().englishOnly);
}

TEST_F(SpeechEnginesTest, ModelsBesideABuiltProgramAreFound) {
    program("home/ann/whisper.cpp/build/bin/whisper-cli");
    file("home/ann/whisper.cpp/models/ggml-base.bin");
    EXPECT_THAT(models(), ElementsAre("base"));
}

TEST_F(SpeechEnginesTest, ALargerModelCostsMore) {
    program("usr/bin/whisper-cli");
    for (const char* name : {"tiny", "base", "small", "medium", "large-v3"}) {
        file(Path("usr/share/whisper.cpp/models") / ("ggml-" + std::string(name) + ".bin"));
    }
    const auto engine = find().front();
    EXPECT_TRUE(std::ranges::is_sorted(engine.models, std::ranges::greater(), &SpeechModel::cost));
}

TEST_F(SpeechEnginesTest, AModelOfTheHubIsItsSnapshotsFolder) {
    program("usr/local/bin/whisper-ctranslate2");
    file("home/ann/.cache/huggingface/hub/models--Systran--faster-whisper-small/snapshots/0a/model.bin");
    file("home/ann/.cache/huggingface/hub/models--Systran--faster-whisper-base/snapshots/0a/config.json");
    file("home/ann/.cache/huggingface/hub/models--other--thing/snapshots/0a/model.bin");
    EXPECT_THAT(models(), ElementsAre("small"));
    EXPECT_EQ(find().front().models.front().path,
              machine / "home/ann/.cache/huggingface/hub/models--Systran--faster-whisper-small/snapshots/0a");
}

TEST_F(SpeechEnginesTest, SphinxNeedsAllOfItsThreeFiles) {
    sphinx();
    EXPECT_THAT(models(), ElementsAre("en-us"));
    EXPECT_TRUE(find().front().models.front().englishOnly);
    std::filesystem::remove(machine / "usr/share/pocketsphinx/model/en-us/en-us.lm.bin");
    EXPECT_THAT(find(), IsEmpty());
}

TEST_F(SpeechEnginesTest, AWishForAnEngineLeavesTheOthersOut) {
    sphinx();
    program("usr/bin/whisper-cli");
    file("usr/share/whisper.cpp/models/ggml-tiny.bin");
    EXPECT_THAT(models({.engine = "pocketsphinx", .model = {}}), ElementsAre("en-us"));
    EXPECT_THAT(models({.engine = "whisper", .model = {}}), IsEmpty());
}

TEST_F(SpeechEnginesTest, AWishForAModelIsItsNameOrItsFile) {
    program("usr/bin/whisper-cli");
    file("usr/share/whisper.cpp/models/ggml-tiny.bin");
    file("usr/share/whisper.cpp/models/ggml-small.bin");
    EXPECT_THAT(models({.engine = {}, .model = "tiny"}), ElementsAre("tiny"));
    EXPECT_THAT(models({.engine = {}, .model = (machine / "usr/share/whisper.cpp/models/ggml-small.bin").native()}),
                ElementsAre("small"));
    EXPECT_THAT(models({.engine = {}, .model = "large"}), IsEmpty());
}

TEST_F(SpeechEnginesTest, AModelNamedByItsPathCanBeAnywhere) {
    program("usr/bin/whisper-cli");
    file("data/ggml-small-q5_0.bin");
    EXPECT_THAT(models({.engine = {}, .model = (machine / "data/ggml-small-q5_0.bin").native()}),
                ElementsAre("small-q5_0"));
    EXPECT_THAT(models({.engine = {}, .model = (machine / "data/ggml-other.bin").native()}), IsEmpty());
}
