#include "ai/TranscribeStep.h"

#include "StepFolder.h"
#include "ai/MeetingContent.h"
#include "copy/Strings.h"
#include "fakes/SmallDisk.h"
#include "store/MeetingLibrary.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <fstream>
#include <future>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using ai::AIFailure;
using ai::AIStep;
using ai::Transcript;
using testing::ElementsAre;
namespace AIPipeline = ai::AIPipeline;
namespace Strings = copy::Strings;

namespace {

constexpr const char* practiceMeta = R"({"start": "2025-03-07T09:00:00+08:00", "duration": 90, "people": [],
                                         "screenshotsEnabled": true, "mode": "practice"})";

class TranscribeStepTest : public StepFolder {
protected:
    void bothTracks() {
        write("mic.m4a", "sound");
        write("system.m4a", "sound");
    }

    QString failure() {
        const auto result = AIPipeline::transcribe(folder, context());
        EXPECT_FALSE(result.has_value());
        EXPECT_EQ(result.error().step, AIStep::Transcribe);
        return result.error().message;
    }

    Transcript transcript() {
        const auto result = AIPipeline::transcribe(folder, context());
        EXPECT_TRUE(result.has_value()) << result.error().message.toStdString();
        return Transcript::parse(read("transcript.json")).value_or(Transcript{});
    }

    /// The values of one argument over all calls.
    std::vector<QString> outputNames() const {
        std::vector<QString> names;
        for (const auto& call : fake.whisperCalls()) {
            names.push_back(call.find(u"arguments")->toStringList()->at(8));
        }
        return names;
    }
};

} // namespace

TEST_F(TranscribeStepTest, BothTracksBecomeOneTranscript) {
    bothTracks();
    const auto result = transcript();
    EXPECT_EQ(result.segments,
              (std::vector<Transcript::Segment>{{0.5, 3.0, u"me"_s, u"I will send the numbers on Friday."_s},
                                                {4.0, 6.5, u"them"_s, u"Then we ship the week after."_s}}));
    EXPECT_EQ(result.language, u"en"_s);
    EXPECT_TRUE(read("transcript.json").contains("\"generatedAt\" : \"2025-03-07T09:30:12+08:00\""));
    EXPECT_EQ(outputNames(), (std::vector<QString>{u"mic"_s, u"system"_s})) << "one after the other";
}

TEST_F(TranscribeStepTest, TheToolStartsInAnEmptyFolderOfItsOwnWithNothingToRead) {
    bothTracks();
    ASSERT_TRUE(AIPipeline::transcribe(folder, context()));
    const auto calls = fake.whisperCalls();
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls.front().find(u"folderIsEmpty")->toBool(), true);
    EXPECT_EQ(calls.front().find(u"standardInput")->toString(), u""_s);
    const auto where = base::pathFrom(*calls.front().find(u"folder")->toString());
    EXPECT_EQ(where.parent_path(), workRoot);
    EXPECT_TRUE(where.filename().native().starts_with("whisper_"));
    EXPECT_FALSE(std::filesystem::exists(where));
}

TEST_F(TranscribeStepTest, TheCommandLineOfAMeetingIsFixed) {
    EXPECT_THAT(AIPipeline::whisperArguments("/a/mic.m4a", "/tmp/x", "mic", false),
                ElementsAre("/a/mic.m4a", "--model", "mlx-community/whisper-large-v3-turbo", "--output-format", "json",
                            "--output-dir", "/tmp/x", "--output-name", "mic", "--condition-on-previous-text", "False",
                            "--verbose", "False"));
}

TEST_F(TranscribeStepTest, APracticeTakeAlsoNamesFillerWords) {
    const auto arguments = AIPipeline::whisperArguments("/a/mic.m4a", "/tmp/x", "mic", true);
    ASSERT_EQ(arguments.size(), 15U);
    EXPECT_EQ(arguments[13], "--initial-prompt");
    EXPECT_EQ(arguments[14], "Um, uh, so, like, you know. 嗯，那個，就是，然後。");
}

TEST_F(TranscribeStepTest, TheTimeoutIsTwiceTheLengthAndTenMinutes) {
    EXPECT_EQ(AIPipeline::whisperTimeout(100.0), 800.0);
    EXPECT_EQ(AIPipeline::whisperTimeout(0.0), 600.0);
    EXPECT_EQ(AIPipeline::whisperTimeout(-5.0), 600.0);
    EXPECT_EQ(AIPipeline::whisperTimeout(0.5), 601.0);
    EXPECT_EQ(AIPipeline::whisperTimeout(std::nullopt), 7800.0);
}

TEST_F(TranscribeStepTest, TracksThatAreNotThereAreLeftOut) {
    const auto record = [&] { return store::MeetingLibrary::record(folder); };
    EXPECT_TRUE(AIPipeline::audioTracks(record()).empty());
    write("system.m4a", "sound");
    EXPECT_THAT(AIPipeline::audioTracks(record()),
                ElementsAre(AIPipeline::AudioTrack{"system", folder / "system.m4a"}));
    write("mic.m4a", "sound");
    EXPECT_THAT(AIPipeline::audioTracks(record()),
                ElementsAre(AIPipeline::AudioTrack{"mic", folder / "mic.m4a"},
                            AIPipeline::AudioTrack{"system", folder / "system.m4a"}));
    write("meta.json", practiceMeta);
    EXPECT_THAT(AIPipeline::audioTracks(record()), ElementsAre(AIPipeline::AudioTrack{"mic", folder / "mic.m4a"}));
}

TEST_F(TranscribeStepTest, WithTheSystemTrackAloneThereIsOneRunAndOnlyTheOthers) {
    write("system.m4a", "sound");
    fake.planWhisper(R"({"system": {"language": "zh"}})");
    const auto result = transcript();
    EXPECT_EQ(outputNames(), std::vector<QString>{u"system"_s});
    ASSERT_EQ(result.segments.size(), 1U);
    EXPECT_EQ(result.segments.front().speaker, u"them"_s);
    EXPECT_EQ(result.language, u"zh"_s);
}

TEST_F(TranscribeStepTest, APracticeTakeIsOneRunWithThePromptAndUnmergedSegments) {
    write("meta.json", practiceMeta);
    bothTracks();
    fake.planWhisper(
        R"({"mic": {"segments": [{"start": 1, "end": 2, "text": "so"}, {"start": 2.5, "end": 4, "text": "this works"}]}})");
    EXPECT_EQ(transcript().segments.size(), 2U);
    EXPECT_EQ(outputNames(), std::vector<QString>{u"mic"_s});
    EXPECT_EQ(fake.whisperCalls().front().find(u"arguments")->toStringList()->size(), 15);
}

TEST_F(TranscribeStepTest, AMeetingsSegmentsAreMerged) {
    write("mic.m4a", "sound");
    fake.planWhisper(
        R"({"mic": {"segments": [{"start": 1, "end": 2, "text": "so"}, {"start": 2.5, "end": 4, "text": "this works"}]}})");
    EXPECT_EQ(transcript().segments, (std::vector<Transcript::Segment>{{1, 4, u"me"_s, u"so this works"_s}}));
}

TEST_F(TranscribeStepTest, WithoutAudioTheReasonDependsOnItsAge) {
    EXPECT_EQ(failure(), Strings::aiErrNoAudio);
    clock.time = clock.time.addDays(7).addSecs(-1812); // seven days after the start
    EXPECT_EQ(failure(), Strings::aiErrNoAudio);
    clock.time = clock.time.addSecs(1);
    EXPECT_EQ(failure(), Strings::aiErrAudioGone);
}

TEST_F(TranscribeStepTest, AMissingToolIsNamed) {
    bothTracks();
    tools.whisper = "/nonexistent/mlx_whisper";
    EXPECT_EQ(failure(), u"找不到 /nonexistent/mlx_whisper"_s);
}

TEST_F(TranscribeStepTest, WithoutAudioTheToolIsNotEvenLookedFor) {
    tools.whisper = "/nonexistent/mlx_whisper";
    EXPECT_EQ(failure(), Strings::aiErrNoAudio);
}

TEST_F(TranscribeStepTest, AToolThatCannotBeLaunchedIsAnErrorInTheSystemsWords) {
    bothTracks();
    write("tool", "no program");
    std::filesystem::permissions(folder / "tool", std::filesystem::perms::owner_all);
    tools.whisper = folder / "tool";
    EXPECT_EQ(failure(), Strings::aiErrWhisper(base::fileError(ENOEXEC).text));
}

TEST_F(TranscribeStepTest, AWorkFolderThatCannotBeMadeFailsTheLaunch) {
    bothTracks();
    write("file", "");
    workRoot = folder / "file" / "tmp";
    EXPECT_EQ(failure(), Strings::aiErrWhisper(base::fileError(ENOTDIR).text));
}

TEST_F(TranscribeStepTest, AFailingToolsLastWordsAreTheMessage) {
    bothTracks();
    fake.planWhisper(R"({"*": {"exit": 1, "stderr": "Traceback\nMemoryError: no\n \n", "stdout": "progress\n"}})");
    EXPECT_EQ(failure(), u"轉文字的程式出錯：MemoryError: no"_s);
    fake.planWhisper(R"({"*": {"exit": 1, "stderr": " \n", "stdout": "out of disk\n"}})");
    EXPECT_EQ(failure(), u"轉文字的程式出錯：out of disk"_s);
    fake.planWhisper(R"({"*": {"exit": 1}})");
    EXPECT_EQ(failure(), u"轉文字的程式出錯：exit 1"_s);
}

TEST_F(TranscribeStepTest, ALongLastLineIsCut) {
    bothTracks();
    fake.planWhisper("{\"*\": {\"exit\": 2, \"stderr\": \"" + QByteArray(200, 'x') + "\"}}");
    EXPECT_EQ(failure(), u"轉文字的程式出錯："_s + QString(160, u'x') + u"…");
}

TEST_F(TranscribeStepTest, AToolThatWroteNoFileOrNonsenseIsAnError) {
    bothTracks();
    for (const char* plan :
         {R"({"noFile": true})", R"({"raw": ""})", R"({"raw": "{}"})", R"({"raw": "[]"})", R"({"raw": "not json"})",
          R"({"raw": "{\"segments\": 5}"})", R"({"raw": "{\"segments\": [{\"start\": NaN}]}"})",
          R"({"raw": "{\"segments\": [{\"text\": \"\u00ff\"}]}"})"}) {
        fake.planWhisper(QByteArray("{\"mic\": ") + plan + "}");
        EXPECT_EQ(failure(), Strings::aiErrWhisperOutput) << plan;
    }
    EXPECT_FALSE(has("transcript.json"));
}

TEST_F(TranscribeStepTest, NothingSaidOnBothTracksIsAnError) {
    bothTracks();
    fake.planWhisper(R"({"*": {"segments": []}})");
    EXPECT_EQ(failure(), Strings::aiErrNoSpeech);
}

TEST_F(TranscribeStepTest, NothingSaidInAPracticeTakeHasATextOfItsOwn) {
    write("meta.json", practiceMeta);
    bothTracks();
    fake.planWhisper(R"({"*": {"segments": []}})");
    EXPECT_EQ(failure(), Strings::aiErrNoSpeechPractice);
}

TEST_F(TranscribeStepTest, WhenTheSecondTrackFailsAnEarlierTranscriptStays) {
    bothTracks();
    write("transcript.json", "an earlier one");
    fake.planWhisper(R"({"system": {"exit": 3}})");
    EXPECT_EQ(failure(), Strings::aiErrWhisper(u"exit 3"_s));
    EXPECT_EQ(read("transcript.json"), "an earlier one");
    EXPECT_EQ(outputNames().size(), 2U);
}

TEST_F(TranscribeStepTest, WhenTheFirstTrackFailsTheSecondDoesNotRun) {
    bothTracks();
    fake.planWhisper(R"({"mic": {"exit": 3}})");
    EXPECT_EQ(failure(), Strings::aiErrWhisper(u"exit 3"_s));
    EXPECT_EQ(outputNames().size(), 1U);
}

TEST_F(TranscribeStepTest, ASecondRunReplacesTheTranscript) {
    bothTracks();
    ASSERT_TRUE(AIPipeline::transcribe(folder, context()));
    clock.time = clock.time.addSecs(60);
    ASSERT_TRUE(AIPipeline::transcribe(folder, context(true)));
    EXPECT_TRUE(read("transcript.json").contains("2025-03-07T09:31:12+08:00"));
}

TEST_F(TranscribeStepTest, ACancelDuringTheFirstTrackStopsTheStep) {
    bothTracks();
    const auto fifo = fake.folder() / "announce";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    fake.planWhisper("{\"*\": {\"hang\": true, \"announce\": \"" + QByteArray(fifo.c_str()) + "\"}}");
    auto running = std::async(std::launch::async, [&] { return failure(); });
    std::string pid;
    std::ifstream(fifo) >> pid;
    runner.cancel();
    EXPECT_EQ(running.get(), Strings::aiErrCancelled);
    EXPECT_EQ(outputNames().size(), 1U);
}

TEST_F(TranscribeStepTest, ACancelBeforeTheStepRunsNothing) {
    bothTracks();
    runner.cancel();
    EXPECT_EQ(failure(), Strings::aiErrCancelled);
    EXPECT_TRUE(fake.whisperCalls().empty());
}

TEST_F(TranscribeStepTest, AFolderThatIsRemovedMeanwhileFailsTheWriteAndIsNotMadeAgain) {
    bothTracks();
    fake.planWhisper("{\"system\": {\"remove\": \"" + base::pathText(folder).toUtf8() + "\"}}");
    EXPECT_EQ(failure(), Strings::mainSaveFailed(base::fileError(ENOENT).text));
    EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST_F(TranscribeStepTest, ATranscriptThatCannotBeReplacedIsNotSaved) {
    bothTracks();
    std::filesystem::create_directories(folder / "transcript.json" / "in the way");
    EXPECT_EQ(failure(), Strings::mainSaveFailed(base::fileError(EISDIR).text));
}

TEST_F(TranscribeStepTest, SegmentsInAnyOrderAndOverlappingComeOutSorted) {
    write("mic.m4a", "sound");
    fake.planWhisper(
        R"({"mic": {"segments": [{"start": 20, "end": 30, "text": "third"}, {"start": 1, "end": 14, "text": "first"},
        {"start": 10, "end": 12, "text": "second"}, {"start": 1e300, "end": 1e301, "text": "never"},
        {"start": -5, "end": -9, "text": "nor this"}]}})");
    EXPECT_EQ(transcript().segments,
              (std::vector<Transcript::Segment>{{1, 14, u"me"_s, u"first second"_s}, {20, 30, u"me"_s, u"third"_s}}));
}

TEST_F(TranscribeStepTest, OnlyATranscriptWithASegmentCounts) {
    const auto needs = [&](ai::AIRequest::Transcribe transcribe) {
        return AIPipeline::needsTranscription({.folder = folder, .transcribe = transcribe});
    };
    const auto ifMissing = ai::AIRequest::Transcribe::IfMissing;
    EXPECT_TRUE(needs(ifMissing)) << "missing";
    write("transcript.json", "nonsense");
    EXPECT_TRUE(needs(ifMissing)) << "broken";
    write("transcript.json", R"({"segments": []})");
    EXPECT_TRUE(needs(ifMissing)) << "empty";
    EXPECT_FALSE(AIPipeline::hasTranscript(store::MeetingLibrary::record(folder)));
    write("transcript.json", R"({"segments": [{"text": "hi"}]})");
    EXPECT_FALSE(needs(ifMissing));
    EXPECT_TRUE(AIPipeline::hasTranscript(store::MeetingLibrary::record(folder)));
    EXPECT_TRUE(needs(ai::AIRequest::Transcribe::Always));
}

TEST_F(TranscribeStepTest, AFullDiskKeepsTheEarlierTranscriptAndLeavesNoHalfOne) {
    bothTracks();
    write("transcript.json", "an earlier one");
    QByteArray mic;
    QByteArray system;
    for (int i = 0; i < 40;
         ++i) { // by turns, so that nothing is merged and the transcript is larger than what it came from
        mic += (i > 0 ? "," : "") + QByteArray("{\"start\": %1, \"end\": %2, \"text\": \"me\"}")
                                        .replace("%1", QByteArray::number(20 * i))
                                        .replace("%2", QByteArray::number(20 * i + 5));
        system += (i > 0 ? "," : "") + QByteArray("{\"start\": %1, \"end\": %2, \"text\": \"they\"}")
                                           .replace("%1", QByteArray::number(20 * i + 10))
                                           .replace("%2", QByteArray::number(20 * i + 15));
    }
    write("meta.json", R"({"start": "2025-03-07T09:00:00+08:00", "duration": 1000})");
    fake.planWhisper("{\"mic\": {\"segments\": [" + mic + "]}, \"system\": {\"segments\": [" + system + "]}}");
    const fakes::SmallDisk disk(5000);
    EXPECT_EQ(failure(), Strings::mainSaveFailed(base::fileError(EFBIG).text));
    EXPECT_EQ(read("transcript.json"), "an earlier one");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 4) << "nothing half done is left";
}
