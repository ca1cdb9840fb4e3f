#include "adapter/Transcription.h"

#include "ai/ProcessRunner.h"
#include "base/Files.h"
#include "base/Json.h"
#include "fakes/ScopedVariable.h"
#include "fakes/TemporaryFolder.h"
#include "media/CafFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <future>
#include <numbers>
#include <sys/stat.h>
#include <thread>

using namespace Qt::StringLiterals;
using adapter::Request;
using ai::SpeechEngine;
using ai::SpeechModel;
using testing::HasSubstr;
using Path = std::filesystem::path;

namespace {

constexpr double plenty = 600.0;

class TranscriptionTest : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(folder / "out");
        request = {.audio = folder / "mic.caf",
                   .outputDir = folder / "out",
                   .outputName = "mic",
                   .model = {},
                   .initialPrompt = {},
                   .language = {}};
    }

    /// Sound and silence by turns, so many seconds each.
    void track(std::initializer_list<double> seconds) const {
        const auto file = media::CafFile::create(request.audio, 16000.0);
        ASSERT_TRUE(file);
        bool isSound = true;
        for (const double length : seconds) {
            std::vector<std::int16_t> samples(static_cast<std::size_t>(length * 16000.0), 0);
            for (std::size_t i = 0; isSound && i < samples.size(); ++i) {
                samples[i] =
                    static_cast<std::int16_t>(8000.0 * std::sin(0.05 * std::numbers::pi * static_cast<double>(i)));
            }
            ASSERT_TRUE((*file)->write(samples));
            isSound = !isSound;
        }
        ASSERT_TRUE((*file)->close());
    }

    Path script(const std::string& name, const std::string& body) const {
        EXPECT_TRUE(base::replaceFile(folder / name, QByteArray::fromStdString("#!/bin/sh\n" + body)));
        std::filesystem::permissions(folder / name, std::filesystem::perms::owner_all);
        return folder / name;
    }

    /// An engine that writes answer N at its Nth call, and notes the model and the size of the sound.
    SpeechEngine engine(const std::vector<std::string>& answers) const {
        for (std::size_t i = 0; i < answers.size(); ++i) {
            EXPECT_TRUE(
                base::replaceFile(folder / ("answer" + std::to_string(i + 1)), QByteArray::fromStdString(answers[i])));
        }
        const std::string here = folder.path.native();
        return {.kind = SpeechEngine::Kind::WhisperCpp,
                .program = script("whisper-cli", "model=$2; sound=$4\nfor last; do :; done\n"
                                                 "echo \"$model $(wc -c < $sound)\" >> " +
                                                     here +
                                                     "/calls\n"
                                                     "cp " +
                                                     here + "/answer$(wc -l < " + here + "/calls) $last.json\n"),
                .models = {{"small", "small", 1.5, false}, {"tiny", "tiny", 0.01, false}}};
    }

    std::expected<std::string, std::string> transcribe(std::vector<SpeechEngine> engines, double seconds = plenty) {
        const base::MonotonicClock clock;
        return adapter::transcribe(
            request, {.engines = std::move(engines), .threads = 2, .clock = clock, .secondsAllowed = seconds});
    }

    base::Json output() const {
        return base::parseJson(base::readFile(folder / "out" / "mic.json").value_or(QByteArray()))
            .value_or(base::Json());
    }

    QStringList segments() const {
        QStringList result;
        const auto json = output();
        for (const auto& segment : *json.find(u"segments")->toArray()) {
            result.append(QString::number(*segment.find(u"start")->toDouble()) + u'-' +
                          QString::number(*segment.find(u"end")->toDouble()) + *segment.find(u"text")->toString());
        }
        return result;
    }

    std::string calls() const { return base::readFile(folder / "calls").value_or(QByteArray()).toStdString(); }

    fakes::TemporaryFolder folder;
    Request request;
};

std::string answer(const std::string& language, const std::string& segments) {
    return R"({"result": {"language": ")" + language + R"("}, "transcription": [)" + segments + "]}";
}

} // namespace

TEST_F(TranscriptionTest, TimesArePutBackOnTheTimeLineOfTheTrack) {
    track({3, 120, 4, 30});
    const auto used = transcribe({engine({answer("en", R"({"offsets": {"from": 500, "to": 3400}, "text": " first"},
                                                          {"offsets": {"from": 3500, "to": 8000}, "text": " second"})")})});
    ASSERT_TRUE(used) << used.error();
    EXPECT_EQ(*used, "brieflet-whisper: whisper-cli with small");
    EXPECT_EQ(segments(), (QStringList{u"0.5-3.4 first"_s, u"122.5-127 second"_s}));
    EXPECT_EQ(output().find(u"language")->toString(), u"en"_s);
    EXPECT_EQ(output().find(u"text")->toString(), u" first second"_s);
    EXPECT_EQ(calls(), "small " + std::to_string(44 + 2 * (56'000 + 80'000)) + "\n") << "the silence is not handed on";
}

TEST_F(TranscriptionTest, ASilentTrackNeedsNoEngineToRun) {
    track({0, 60});
    const auto used = transcribe({engine({})});
    ASSERT_TRUE(used) << used.error();
    EXPECT_EQ(segments(), QStringList{});
    EXPECT_TRUE(output().find(u"language")->isNull());
    EXPECT_EQ(calls(), "");
}

TEST_F(TranscriptionTest, WithoutAnEngineItSaysWhatToInstall) {
    track({1});
    EXPECT_THAT(transcribe({}).error(), HasSubstr("install pocketsphinx"));
    EXPECT_FALSE(std::filesystem::exists(folder / "out" / "mic.json"));
}

TEST_F(TranscriptionTest, ALongTrackIsHeardInPiecesAndItsLanguageIsTheCommonest) {
    track({50, 10, 40, 10, 40});
    ASSERT_TRUE(transcribe({engine({answer("en", R"({"offsets": {"from": 0, "to": 1000}, "text": " a"})"),
                                    answer("zh", R"({"offsets": {"from": 0, "to": 1000}, "text": " bbbb"},
                                                    {"offsets": {"from": 41500, "to": 42000}, "text": " c"})")})}));
    EXPECT_EQ(segments(), (QStringList{u"0-1 a"_s, u"59.5-60.5 bbbb"_s, u"110-110.5 c"_s}));
    EXPECT_EQ(output().find(u"language")->toString(), u"zh"_s);
}

TEST_F(TranscriptionTest, WithLittleTimeASmallerModelIsTaken) {
    track({10});
    ASSERT_TRUE(transcribe({engine({answer("en", "")})}, 5.0));
    EXPECT_TRUE(calls().starts_with("tiny "));
}

TEST_F(TranscriptionTest, AnEngineThatFailsMakesWayForTheNext) {
    track({1});
    SpeechEngine broken = engine({answer("en", R"({"offsets": {"from": 0, "to": 500}, "text": " a"})")});
    broken.program = script("broken", "echo 'cannot load' >&2; exit 1\n");
    const auto used = transcribe({broken, engine({answer("en", "")})});
    ASSERT_TRUE(used) << used.error();
    EXPECT_EQ(*used, "brieflet-whisper: whisper-cli with small");
}

TEST_F(TranscriptionTest, WhenAllEnginesFailTheirWordsAreTold) {
    track({1});
    SpeechEngine first = engine({});
    first.program = script("first", "echo 'cannot load' >&2; exit 1\n");
    SpeechEngine second = engine({});
    second.program = script("second", "exit 3\n");
    SpeechEngine third = engine({});
    third.program = script("third", "exit 0\n");
    EXPECT_EQ(transcribe({first, second, third}).error(),
              "brieflet-whisper: first: cannot load; second: exit 3; third: wrote nothing that can be read");
    EXPECT_TRUE(std::filesystem::is_empty(folder / "out")) << "nothing half done is left";
}

TEST_F(TranscriptionTest, WhatIsTooSlowIsSaidBeforeTheCallersPatienceEnds) {
    track({1});
    SpeechEngine slow = engine({});
    slow.program = script("slow", "exec sleep 1000\n");
    EXPECT_EQ(transcribe({slow}, 0.1).error(),
              "brieflet-whisper: this machine is too slow for tiny: 1 minutes of speech were left after 1 minutes; "
              "install a smaller model");
}

TEST_F(TranscriptionTest, TheTimeAllowedIsThatOfTheCallerLessTheEnd) {
    EXPECT_EQ(adapter::secondsAllowed(100.0), 780.0);
}

TEST_F(TranscriptionTest, AFileThatIsNoTrackIsAnError) {
    ASSERT_TRUE(base::replaceFile(request.audio, "no sound"));
    EXPECT_TRUE(transcribe({engine({})}).error().starts_with("brieflet-whisper: "));
}

TEST_F(TranscriptionTest, AMissingOutputFolderIsAnError) {
    track({0, 1});
    request.outputDir = folder / "out" / "missing";
    EXPECT_FALSE(transcribe({engine({})}));
}

TEST_F(TranscriptionTest, TheProgramEndsWithTwoForAWrongCommandLineAndWithOneForAWrongFile) {
    ai::ProcessRunner runner;
    const auto wrong =
        runner.run({.executable = ADAPTER_PROGRAM, .arguments = {"--task", "translate"}, .timeout = plenty});
    EXPECT_EQ(wrong->status, 2);
    EXPECT_EQ(wrong->standardError, "brieflet-whisper: no option --task\n");
    const auto missing =
        runner.run({.executable = ADAPTER_PROGRAM, .arguments = {"/nonexistent.m4a"}, .timeout = plenty});
    EXPECT_EQ(missing->status, 1);
    EXPECT_TRUE(missing->standardError.startsWith("brieflet-whisper: "));
}

TEST_F(TranscriptionTest, TheEngineEndsWithTheProgram) {
    track({1});
    const Path home = folder / "home";
    std::filesystem::create_directories(home / ".local/bin");
    std::filesystem::create_directories(home / ".local/share/whisper.cpp");
    ASSERT_TRUE(base::replaceFile(home / ".local/share/whisper.cpp/ggml-tiny.bin", "x"));
    const Path ready = folder / "ready";
    ASSERT_EQ(::mkfifo(ready.c_str(), 0600), 0);
    const auto engine = script("engine", "trap '' TERM\necho $$ > " + ready.native() + "\nexec sleep 1000\n");
    std::filesystem::rename(engine, home / ".local/bin/whisper-cli");
    const fakes::ScopedVariable homeVariable("HOME", home.native());
    const fakes::ScopedVariable engineVariable("BRIEFLET_WHISPER_ENGINE", "whisper-cli");
    ai::ProcessRunner runner;
    auto running = std::async(std::launch::async, [&] {
        return runner.run({.executable = ADAPTER_PROGRAM,
                           .arguments = {request.audio.native(), "--output-dir", request.outputDir.native()},
                           .timeout = plenty});
    });
    pid_t pid = 0;
    std::ifstream(ready) >> pid;
    ASSERT_GT(pid, 0);
    runner.cancel();
    EXPECT_TRUE(running.get()->cancelled);
    const auto lives = [pid] {
        std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
        const std::string stat((std::istreambuf_iterator<char>(file)), {});
        return !stat.empty() && stat.substr(stat.rfind(')')).find(" Z ") == std::string::npos;
    };
    while (lives()) { // the system may take a moment to carry it out
        std::this_thread::yield();
    }
}

/// The one engine that a bare machine can have, from a voice to words on the right place of the time line.
TEST_F(TranscriptionTest, PocketSphinxUnderstandsAVoiceBehindALongSilence) {
    const auto engines =
        ai::SpeechEngines::find({.root = "/", .home = "/nonexistent"}, {.engine = "pocketsphinx", .model = {}});
    if (engines.empty() || !std::filesystem::exists("/usr/bin/flite")) {
        GTEST_SKIP() << "needs the packages pocketsphinx, pocketsphinx-en-us and flite";
    }
    const auto voice = folder / "voice.wav";
    ai::ProcessRunner runner;
    ASSERT_EQ(runner
                  .run({.executable = "/usr/bin/flite",
                        .arguments = {"-voice", "rms", "-t", "I will send the numbers on Friday morning.", "-o",
                                      voice.native()},
                        .timeout = plenty})
                  ->status,
              0);
    const auto wav = base::readFile(voice).value().sliced(44);
    std::vector<std::int16_t> samples(static_cast<std::size_t>(wav.size()) / 2);
    std::memcpy(samples.data(), wav.constData(), samples.size() * 2);
    const auto file = media::CafFile::create(request.audio, 16000.0);
    ASSERT_TRUE((*file)->write(std::vector<std::int16_t>(16000 * 45, 0)));
    ASSERT_TRUE((*file)->write(samples));
    ASSERT_TRUE((*file)->close());

    ASSERT_TRUE(transcribe(engines));
    const auto heard = output().find(u"segments")->toArray()->front();
    EXPECT_THAT(heard.find(u"text")->toString()->toStdString(), HasSubstr("friday morning"));
    EXPECT_NEAR(*heard.find(u"start")->toDouble(), 45.1, 0.3);
    EXPECT_EQ(output().find(u"language")->toString(), u"en"_s);
}
