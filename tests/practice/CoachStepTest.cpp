#include "practice/CoachStep.h"

#include "ai/ClaudeReply.h"
#include "ai/StepFolder.h"
#include "copy/Strings.h"
#include "copy/UserName.h"
#include "practice/CoachPrompt.h"
#include "practice/PracticeCoach.h"
#include "store/MeetingLibrary.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace practice;
using namespace Qt::StringLiterals;
using ai::AIStep;
using base::Json;
namespace Pipeline = practice::AIPipeline;
namespace Strings = copy::Strings;

namespace {

const copy::MeetingText::Calendar taipei{QTimeZone("Asia/Taipei")};

QByteArray dataFile(const char* name) {
    return base::readFile(std::filesystem::path(TEST_DATA_DIR) / name).value_or(QByteArray("(missing)"));
}

Json parsed(const QByteArray& bytes) {
    const auto json = base::parseJson(bytes);
    EXPECT_TRUE(json.has_value()) << bytes.constData();
    return json.value_or(Json());
}

PitchStats pitchOf(double sd) {
    PitchStats pitch;
    pitch.voicedSeconds = 42;
    pitch.semitoneSD = sd;
    pitch.rangeSemitones = 6.1;
    pitch.flattest = PitchStats::Flattest{30, 60, 1.9, u"so here we are"_s, 33.4};
    return pitch;
}

PracticeStats goldenStats() {
    PracticeStats stats;
    stats.spokenSeconds = 61.5;
    stats.words = 123;
    stats.wordsPerMinute = 120;
    stats.firstHalfWordsPerMinute = 130;
    stats.secondHalfWordsPerMinute = 110;
    stats.longPauses = 2;
    stats.longestPauseSeconds = 3.5;
    stats.longestPauseAt = 41.9;
    stats.fillers = {{u"um"_s, 2}, {u"就是"_s, 1}};
    stats.fillerCount = 3;
    stats.fillersPerMinute = 2.9;
    stats.pitch = pitchOf(2.5);
    stats.previous = PracticeStats::Previous{
        u"2025_03_06_0930_練習"_s, QDateTime(QDate(2025, 3, 6), QTime(1, 30), Qt::UTC), 131, 4.0, 1, 2.2};
    return stats;
}

Pipeline::CoachPrompt goldenParts(copy::AILanguage language) {
    return {.title = u"Pitch day"_s,
            .stats = goldenStats(),
            .transcript = {{1.9, 3, u"me"_s, u"Hello world"_s}, {65, 66, u"me"_s, u"你好"_s}},
            .notes = u" \none\ntwo\n"_s,
            .name = u"Ann"_s,
            .language = language,
            .calendar = taipei};
}

// ---- The prompt

TEST(CoachPromptTest, IsTheAgreedOneInBothLanguages) {
    EXPECT_EQ(Pipeline::coachPrompt(goldenParts(copy::AILanguage::zh)).toUtf8(), dataFile("coach_prompt_zh.txt"));
    EXPECT_EQ(Pipeline::coachPrompt(goldenParts(copy::AILanguage::en)).toUtf8(), dataFile("coach_prompt_en.txt"));
}

TEST(CoachPromptTest, TheSchemaIsTheAgreedOne) {
    EXPECT_EQ(Pipeline::coachSchema(), dataFile("coach_schema.json").toStdString());
    EXPECT_EQ(Pipeline::coachArguments(), ai::AIPipeline::claudeArguments(Pipeline::coachSchema()));
}

TEST(CoachPromptTest, WhatIsMissingIsSaidToBe) {
    Pipeline::CoachPrompt parts;
    parts.title = u""_s;
    parts.name = u"Ann"_s;
    parts.calendar = taipei;
    const QString prompt = Pipeline::coachPrompt(parts);
    EXPECT_TRUE(prompt.contains(u"\n\n練習標題：沒有\n\n"_s));
    EXPECT_TRUE(prompt.endsWith(u"\n逐字稿：\n\n使用者的重點或大綱：\n沒有"_s));
}

TEST(StatsLinesTest, APracticeWithoutAnEarlierOneSaysSo) {
    PracticeStats stats = goldenStats();
    stats.previous.reset();
    EXPECT_EQ(Pipeline::statsLines(stats, taipei).last(), u"上一輪：沒有"_s);
}

TEST(StatsLinesTest, WithoutPausesAndFillersTheLinesSaySo) {
    PracticeStats stats = goldenStats();
    stats.longestPauseAt.reset();
    stats.fillers.clear();
    stats.fillerCount = 0;
    stats.fillersPerMinute = 0;
    const QStringList lines = Pipeline::statsLines(stats, taipei);
    EXPECT_EQ(lines[2], u"長停頓（2 秒以上）：0 次"_s);
    EXPECT_EQ(lines[3], u"口頭禪：共 0 次，每分鐘 0.0 個（沒有）"_s);
}

TEST(StatsLinesTest, AnEarlierPracticeWithoutAStartIsNamedByItsFolder) {
    PracticeStats stats = goldenStats();
    stats.previous->start.reset();
    stats.previous->pitchSemitoneSD.reset();
    EXPECT_EQ(Pipeline::statsLines(stats, taipei).last(),
              u"上一輪（2025_03_06_0930_練習）：語速每分鐘 131 字、口頭禪每分鐘 4.0 個、長停頓 1 次"_s);
}

TEST(StatsLinesTest, AChangeOfPitchHasAPlusOnlyAboveZero) {
    const auto lastLine = [](double sd) {
        PracticeStats stats = goldenStats();
        stats.pitch = pitchOf(sd);
        return Pipeline::statsLines(stats, taipei).last();
    };
    EXPECT_EQ(lastLine(2.3), u"語調起伏比上一輪：+0.1 半音（上一輪 2.2）"_s);
    EXPECT_EQ(lastLine(2.2), u"語調起伏比上一輪：0.0 半音（上一輪 2.2）"_s);
    EXPECT_EQ(lastLine(2.0), u"語調起伏比上一輪：-0.2 半音（上一輪 2.2）"_s);
}

TEST(PitchLinesTest, AMissingPitchMustNotBeJudged) {
    EXPECT_EQ(Pipeline::pitchLines(std::nullopt), QStringList{u"語調起伏：沒有算（找不到錄音檔），不要評語調"_s});
}

TEST(PitchLinesTest, TooLittleVoiceIsToldWithItsTwoNumbers) {
    PitchStats pitch = pitchOf(2.5);
    pitch.voicedSeconds = 9.9;
    EXPECT_EQ(Pipeline::pitchLines(pitch),
              QStringList{u"語調起伏：資料不夠（有聲音的部分 9.9 秒，不到 10 秒），不要評語調"_s});
}

TEST(PitchLinesTest, TheFlattestStretchIsToldWithOrWithoutItsSentence) {
    PitchStats pitch = pitchOf(3.0);
    pitch.flattest->sentenceStart.reset();
    EXPECT_EQ(Pipeline::pitchLines(pitch).last(),
              u"語調最平的一段：00:30 到 01:00，標準差 1.9 半音（偏平），那時在講（00:30）：「so here we are」"_s);
    pitch.flattest->sentence.reset();
    EXPECT_EQ(Pipeline::pitchLines(pitch).last(),
              u"語調最平的一段：00:30 到 01:00，標準差 1.9 半音（偏平），逐字稿沒有對到句子"_s);
    pitch.flattest.reset();
    EXPECT_EQ(Pipeline::pitchLines(pitch).size(), 1);
}

// ---- The answer

Json stored(const QByteArray& reply, Pipeline::Notes notes = Pipeline::Notes::Given) {
    const auto object = Pipeline::coachObject(parsed(reply), {}, notes, {u"now"_s, std::nullopt, QTimeZone::utc()});
    EXPECT_TRUE(object.has_value());
    return object.value_or(Json());
}

QByteArray storedAt(const QByteArray& reply, QStringView key) {
    const Json object = stored(reply);
    const Json* found = object.find(key);
    return found == nullptr ? QByteArray("(none)") : base::writeCompactJson(*found);
}

TEST(CoachObjectTest, WithoutNotesThereIsNoCoverage) {
    const QByteArray reply = R"({"verdict":"v","coverage":[{"point":"p","covered":true,"note":"n"}]})";
    const Json object = stored(reply, Pipeline::Notes::None);
    EXPECT_EQ(base::writeCompactJson(*object.find(u"coverage")), "[]");
    EXPECT_EQ(object.find(u"notesIncluded"), nullptr);
    EXPECT_EQ(storedAt(reply, u"coverage"), R"([{"covered":true,"note":"n","point":"p"}])");
    EXPECT_EQ(storedAt(reply, u"notesIncluded"), "true");
}

TEST(CoachObjectTest, AFocusAloneIsEnough) {
    const Json object = stored(R"({"focus":"slow down"})");
    EXPECT_EQ(object.find(u"verdict")->toString(), u""_s);
    EXPECT_EQ(object.find(u"focus")->toString(), u"slow down"_s);
    EXPECT_EQ(object.find(u"focusHow")->toString(), u""_s);
    EXPECT_EQ(object.find(u"version")->toInteger(), 1);
    EXPECT_EQ(object.find(u"source")->toString(), u"claude"_s);
    EXPECT_EQ(object.find(u"transcriptGeneratedAt"), nullptr);
}

TEST(CoachObjectTest, PraiseAloneIsNotEnough) {
    const auto object = Pipeline::coachObject(parsed(R"({"verdict":" \n ","focus":7,"wentWell":["a"]})"), {},
                                              Pipeline::Notes::None, {u"now"_s, std::nullopt, QTimeZone::utc()});
    ASSERT_FALSE(object.has_value());
    EXPECT_EQ(object.error(), (ai::AIFailure{AIStep::Summarize, u"Claude 回的建議是空的"_s}));
}

TEST(CoachObjectTest, ARewriteThatChangesNothingDoesNotCount) {
    EXPECT_EQ(
        storedAt(R"({"verdict":"v","rewrites":[{"before":" a ","after":"a\n","why":"x"},{"before":"1","after":"2"},)"
                 R"({"before":"b"},{"after":"c"},{"before":"3","after":"4"},{"before":"5","after":"6"},)"
                 R"({"before":"7","after":"8"},{"before":"9","after":"10"}]})",
                 u"rewrites"),
        R"([{"after":"2","before":"1","why":""},{"after":"4","before":"3","why":""},)"
        R"({"after":"6","before":"5","why":""},{"after":"8","before":"7","why":""}])");
}

TEST(CoachObjectTest, OwnWordsInLatinKeepALatinComma) {
    EXPECT_EQ(
        storedAt(
            R"({"verdict":"v","rewrites":[{"before":"Fast — really fast","after":"a — — b","why":"Fast — really fast"}]})",
            u"rewrites"),
        R"([{"after":"a, , b","before":"Fast, really fast","why":"Fast，really fast"}])");
    EXPECT_EQ(storedAt(R"({"verdict":"v","rewrites":[{"before":"很快 — fast","after":"快–快"}]})", u"rewrites"),
              R"([{"after":"快，快","before":"很快，fast","why":""}])");
}

TEST(CoachObjectTest, ListsAreCleanedAndLimited) {
    EXPECT_EQ(storedAt(R"({"verdict":"v","wentWell":["a"," ",7,"b\nc","d","e"]})", u"wentWell"), R"(["a","b c","d"])");
    EXPECT_EQ(storedAt(R"({"verdict":"v","delivery":["1","2","3","4"]})", u"delivery"), R"(["1","2","3"])");
    EXPECT_EQ(storedAt(R"({"verdict":"v","delivery":"1","wentWell":{},"coverage":7,"rewrites":null})", u"delivery"),
              "[]");
}

TEST(CoachObjectTest, CoverageNeedsAPoint) {
    EXPECT_EQ(storedAt(R"({"verdict":"v","coverage":[{"covered":true},{"point":" "},{"point":"p","covered":"yes"},7]})",
                       u"coverage"),
              R"([{"covered":false,"note":"","point":"p"}])");
}

// ---- The file

TEST(PracticeCoachTest, ReadsBackWhatWasStored) {
    const auto object = Pipeline::coachObject(
        parsed(
            R"({"verdict":"v","focus":"f","focusHow":"h","wentWell":["w"],"coverage":[{"point":"p","covered":true,"note":"n"}],)"
            R"("rewrites":[{"before":"b","after":"a","why":"y"}],"delivery":["d"]})"),
        goldenStats(), Pipeline::Notes::Given,
        {u"2025-03-07T09:30:12+08:00"_s, u"2025-03-07T09:20:00+08:00"_s, QTimeZone::utc()});
    const auto coach = PracticeCoach::parse(base::writeJson(object.value()));
    ASSERT_TRUE(coach);
    EXPECT_EQ(coach->generatedAt, QDateTime(QDate(2025, 3, 7), QTime(1, 30, 12), Qt::UTC));
    EXPECT_EQ(coach->transcriptGeneratedAt, QDateTime(QDate(2025, 3, 7), QTime(1, 20), Qt::UTC));
    EXPECT_EQ(coach->stats, goldenStats());
    EXPECT_EQ(coach->coverage, (std::vector<PracticeCoach::Coverage>{{u"p"_s, true, u"n"_s}}));
    EXPECT_EQ(coach->rewrites, (std::vector<PracticeCoach::Rewrite>{{u"b"_s, u"a"_s, u"y"_s}}));
    EXPECT_TRUE(coach->notesIncluded);
    EXPECT_EQ(coach->plainText(), u"v\nf\nh\nw\np\nn\nb\na\ny\nd"_s);
}

TEST(PracticeCoachTest, DamageInEveryKeyLosesThatKeyAlone) {
    EXPECT_EQ(PracticeCoach::parse("[]"), std::nullopt);
    EXPECT_EQ(PracticeCoach::parse("{"), std::nullopt);
    EXPECT_EQ(PracticeCoach::parse(""), std::nullopt);
    EXPECT_EQ(PracticeCoach::parse("{}"), PracticeCoach());
    EXPECT_EQ(PracticeCoach::parse(
                  R"({"version":"x","generatedAt":7,"source":[],"transcriptGeneratedAt":"later","verdict":"  ",)"
                  R"("focus":1,"focusHow":null,"wentWell":"x","coverage":{},"rewrites":[1,{"before":"b"}],)"
                  R"("delivery":[" ",2],"stats":[],"notesIncluded":"yes"})"),
              PracticeCoach());
}

// ---- The step

class CoachStepTest : public StepFolder {
protected:
    void SetUp() override {
        StepFolder::SetUp();
        ::setenv("TARVEX_HOME", root.path().toUtf8().constData(), 1); // a name can be forced in test mode only
        copy::UserName::setSelfTestForced(u"Ann"_s);
        copy::AILanguage::setSelfTestForced(copy::AILanguage::en);
        write("meta.json", meta("2025-03-07T09:00:00+08:00"));
        write("transcript.json", transcript);
    }

    void TearDown() override {
        copy::UserName::setSelfTestForced(std::nullopt);
        copy::AILanguage::setSelfTestForced(std::nullopt);
        ::unsetenv("TARVEX_HOME");
        StepFolder::TearDown();
    }

    static QByteArray meta(const char* start) {
        return QByteArray(R"({"start": ")") + start +
               R"(", "duration": 60, "people": [], "screenshotsEnabled": false, "mode": "practice"})";
    }

    /// Another practice beside this one.
    std::filesystem::path earlier(const char* name, const char* start,
                                  const QByteArray& itsTranscript = transcript) const {
        const auto other = folder.parent_path() / name;
        std::filesystem::create_directories(other);
        EXPECT_TRUE(base::replaceFile(other / "meta.json", meta(start)));
        if (!itsTranscript.isEmpty()) {
            EXPECT_TRUE(base::replaceFile(other / "transcript.json", itsTranscript));
        }
        return other;
    }

    QString failure() {
        const auto result = Pipeline::coach(folder, context());
        EXPECT_FALSE(result.has_value());
        EXPECT_EQ(result.error().step, AIStep::Summarize);
        return result.error().message;
    }

    PracticeCoach advice(bool automatic = false) {
        const auto result = Pipeline::coach(folder, context(automatic));
        EXPECT_TRUE(result.has_value()) << result.error().message.toStdString();
        return PracticeCoach::parse(read("coach.json")).value_or(PracticeCoach());
    }

    [[nodiscard]] std::optional<PracticeStats::Previous> previous() const {
        return Pipeline::previousPractice(store::MeetingLibrary::record(folder), Pipeline::WithPitch::Yes);
    }

    [[nodiscard]] QString question() const { return *fake.claudeCalls().back().find(u"standardInput")->toString(); }

    static inline const QByteArray transcript =
        R"({"generatedAt":"2025-03-07T09:20:00+08:00","segments":[{"start":0,"end":20,"speaker":"me","text":"um hello"},)"
        R"({"start":21,"end":30,"speaker":"me","text":"world"},{"start":33.5,"end":60,"speaker":"me","text":"again"}]})";
};

TEST_F(CoachStepTest, GivesTheNumbersAndStoresThem) {
    const auto coach = advice();
    EXPECT_EQ(coach.verdict, u"Clear, but hurried."_s);
    ASSERT_TRUE(coach.stats);
    EXPECT_EQ(coach.stats->words, 4);
    EXPECT_EQ(coach.stats->longPauses, 1);
    EXPECT_EQ(coach.stats->pitch, std::nullopt);
    EXPECT_FALSE(coach.notesIncluded);
    EXPECT_TRUE(coach.coverage.empty());
    EXPECT_TRUE(question().contains(u"語調起伏：沒有算"_s));
    EXPECT_EQ(coach.transcriptGeneratedAt, QDateTime(QDate(2025, 3, 7), QTime(1, 20), Qt::UTC));
}

TEST_F(CoachStepTest, SegmentsUpToASecondApartAreOneLineOfThePrompt) {
    advice();
    EXPECT_TRUE(question().contains(u"\n00:00 um hello world\n00:33 again\n"_s));
}

TEST_F(CoachStepTest, NotesTakePart) {
    write("notes.md", "the numbers\n");
    const auto coach = advice();
    EXPECT_TRUE(coach.notesIncluded);
    EXPECT_EQ(coach.coverage.size(), 1U);
    EXPECT_TRUE(question().endsWith(u"\nthe numbers"_s));
}

TEST_F(CoachStepTest, NeedsATranscriptWithWords) {
    write("transcript.json", R"({"segments":[]})");
    EXPECT_EQ(failure(), QString(Strings::aiNeedTranscript));
    write("transcript.json", "broken");
    EXPECT_EQ(failure(), QString(Strings::aiNeedTranscript));
}

TEST_F(CoachStepTest, AMissingToolIsNamed) {
    tools.claude = "/nowhere/claude";
    EXPECT_EQ(failure(), Strings::aiErrMissing(u"/nowhere/claude"_s));
}

TEST_F(CoachStepTest, AnAnswerWithNothingInItFails) {
    fake.planClaude(R"({"reply":{"wentWell":["a"]}})");
    EXPECT_EQ(failure(), QString(Strings::aiErrEmptyCoach));
    EXPECT_FALSE(has("coach.json"));
}

TEST_F(CoachStepTest, TheFileBeforeGoesToTheTrashAndItsPitchIsKept) {
    const auto before = Pipeline::coachObject(parsed(R"({"verdict":"old"})"), goldenStats(), Pipeline::Notes::None,
                                              {u"2025-03-07T09:30:12+08:00"_s, std::nullopt, QTimeZone::utc()});
    write("coach.json", base::writeJson(before.value()));
    const auto coach = advice();
    EXPECT_EQ(coach.verdict, u"Clear, but hurried."_s);
    EXPECT_EQ(coach.stats->pitch, goldenStats().pitch);
    EXPECT_TRUE(std::filesystem::exists(trash / "coach.json"));
}

TEST_F(CoachStepTest, ATrashThatRefusesLeavesTheFileBefore) {
    write("coach.json", R"({"verdict":"old"})");
    trashRefuses = base::fileError(EACCES);
    failure();
    EXPECT_EQ(read("coach.json"), R"({"verdict":"old"})");
}

TEST_F(CoachStepTest, AutomaticWorkLeavesAnExistingFileAlone) {
    write("coach.json", R"({"verdict":"old"})");
    EXPECT_EQ(advice(true).verdict, u"old"_s);
}

// ---- The practice before

TEST_F(CoachStepTest, TheNewestEarlierPracticeIsThePrevious) {
    earlier("2025_03_05_0900_練習", "2025-03-05T09:00:00+08:00");
    earlier("2025_03_06_0900_練習", "2025-03-06T09:00:00+08:00");
    earlier("2025_03_08_0900_練習", "2025-03-08T09:00:00+08:00");
    const auto found = previous();
    ASSERT_TRUE(found);
    EXPECT_EQ(found->folder, u"2025_03_06_0900_練習"_s);
    EXPECT_EQ(found->wordsPerMinute, 4);
    EXPECT_EQ(found->longPauses, 1);
    EXPECT_EQ(found->pitchSemitoneSD, std::nullopt);
}

TEST_F(CoachStepTest, APracticeOfTheSameMomentIsNotEarlier) {
    earlier("2025_03_07_0900_練習", "2025-03-07T09:00:00+08:00");
    EXPECT_EQ(previous(), std::nullopt);
}

TEST_F(CoachStepTest, MeetingsAndSilentPracticesArePassedOver) {
    earlier("2025_03_04_0900_練習", "2025-03-04T09:00:00+08:00");
    earlier("2025_03_05_0900_練習", "2025-03-05T09:00:00+08:00", R"({"segments":[{"start":1,"end":1,"text":"x"}]})");
    const auto meeting = earlier("2025_03_06_0900_會議", "2025-03-06T09:00:00+08:00");
    ASSERT_TRUE(base::replaceFile(
        meeting / "meta.json",
        R"({"start":"2025-03-06T09:00:00+08:00","duration":1,"people":[],"screenshotsEnabled":true})"));
    EXPECT_EQ(previous()->folder, u"2025_03_04_0900_練習"_s);
}

TEST_F(CoachStepTest, WithoutATranscriptTheStoredNumbersCount) {
    const auto other = earlier("2025_03_06_0900_練習", "2025-03-06T09:00:00+08:00", "");
    EXPECT_EQ(previous(), std::nullopt);
    const auto object = Pipeline::coachObject(parsed(R"({"verdict":"v"})"), goldenStats(), Pipeline::Notes::None,
                                              {u"x"_s, std::nullopt, QTimeZone::utc()});
    ASSERT_TRUE(base::replaceFile(other / "coach.json", base::writeJson(object.value())));
    const auto found = previous();
    ASSERT_TRUE(found);
    EXPECT_EQ(found->wordsPerMinute, 120);
    EXPECT_EQ(found->pitchSemitoneSD, 2.5);
    EXPECT_EQ(
        Pipeline::previousPractice(store::MeetingLibrary::record(folder), Pipeline::WithPitch::No)->pitchSemitoneSD,
        std::nullopt);
}

TEST_F(CoachStepTest, APracticesOwnFolderIsNeverItsPrevious) {
    auto record = store::MeetingLibrary::record(folder);
    record.start = QDateTime(QDate(2030, 1, 1), QTime(0, 0), Qt::UTC);
    EXPECT_EQ(Pipeline::previousPractice(record, Pipeline::WithPitch::No), std::nullopt);
    record.start.reset();
    EXPECT_EQ(Pipeline::previousPractice(record, Pipeline::WithPitch::No), std::nullopt);
}

TEST_F(CoachStepTest, APracticeWithoutAStartComesAfterEveryOther) {
    earlier("2025_03_08_0900_練習", "2025-03-08T09:00:00+08:00");
    auto record = store::MeetingLibrary::record(folder);
    record.start.reset();
    EXPECT_EQ(Pipeline::previousPractice(record, Pipeline::WithPitch::No)->folder, u"2025_03_08_0900_練習"_s);
}

} // namespace
