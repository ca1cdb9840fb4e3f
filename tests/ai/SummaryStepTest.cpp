#include "ai/SummaryStep.h"

#include "StepFolder.h"
#include "ai/ClaudeReply.h"
#include "ai/MeetingSummary.h"
#include "copy/Prompts.h"
#include "copy/Strings.h"
#include "copy/UserName.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <future>

using namespace Qt::StringLiterals;
using ai::AIStep;
using ai::MeetingSummary;
using ai::Transcript;
using base::Json;
namespace AIPipeline = ai::AIPipeline;
namespace Strings = copy::Strings;

namespace {

QByteArray dataFile(const char* name) {
    return base::readFile(std::filesystem::path(TEST_DATA_DIR) / name).value_or(QByteArray("(missing)"));
}

Json parsed(const QByteArray& bytes) {
    const auto json = base::parseJson(bytes);
    EXPECT_TRUE(json.has_value()) << bytes.constData();
    return json.value_or(Json());
}

class SummaryStepTest : public StepFolder {
protected:
    void SetUp() override {
        StepFolder::SetUp();
        ::setenv("TARVEX_HOME", root.path().toUtf8().constData(), 1); // a name can be forced in test mode only
        copy::UserName::setSelfTestForced(u"Ann"_s);
        copy::AILanguage::setSelfTestForced(copy::AILanguage::en);
        write("transcript.json", R"({"generatedAt": "2025-03-07T09:20:00+08:00", "segments": [
            {"start": 1, "end": 2, "speaker": "me", "text": "Hello"}, {"start": 3, "end": 4, "speaker": "me", "text": "world"},
            {"start": 65, "end": 66, "speaker": "them", "text": "你好"}]})");
    }

    void TearDown() override {
        copy::UserName::setSelfTestForced(std::nullopt);
        copy::AILanguage::setSelfTestForced(std::nullopt);
        ::unsetenv("TARVEX_HOME");
        StepFolder::TearDown();
    }

    QString failure(bool automatic = false) {
        const auto result = AIPipeline::summarize(folder, context(automatic));
        EXPECT_FALSE(result.has_value());
        EXPECT_EQ(result.error().step, AIStep::Summarize);
        return result.error().message;
    }

    Json summary(bool automatic = false) {
        const auto result = AIPipeline::summarize(folder, context(automatic));
        EXPECT_TRUE(result.has_value()) << result.error().message.toStdString();
        return parsed(read("summary.json"));
    }

    /// What a reply becomes.
    static Json stored(const QByteArray& reply, const AIPipeline::SummaryStamps& stamps = {}) {
        const auto object = AIPipeline::summaryObject(parsed(reply), stamps);
        EXPECT_TRUE(object.has_value()) << reply.constData();
        return object.value_or(Json());
    }

    static QByteArray storedText(const QByteArray& reply, QStringView key) {
        const auto object = stored(reply);
        return base::writeCompactJson(*object.find(key), base::KeyOrder::AsGiven);
    }

    QString question() const { return *fake.claudeCalls().back().find(u"standardInput")->toString(); }
};

AIPipeline::SummaryPrompt goldenParts(copy::AILanguage language) {
    return {.title = u"Weekly sync"_s,
            .type = u"Work"_s,
            .people = {u"Bob"_s, u"小明"_s},
            .transcript = {{1.9, 3, u"me"_s, u"Hello world"_s},
                           {65, 66, u"them"_s, u"你好"_s},
                           {3600, 3601, u"Bob"_s, u"x"_s}},
            .notes = u"\n Marten is Martina \n"_s,
            .name = u"Ann"_s,
            .language = language};
}

QStringList lines(const AIPipeline::SummaryPrompt& parts) {
    return AIPipeline::prompt(parts).sliced(Strings::aiPromptRules(parts.name, parts.language).size()).split(u'\n');
}

} // namespace

TEST_F(SummaryStepTest, ThePromptIsTheAgreedOneInChinese) {
    EXPECT_EQ(AIPipeline::prompt(goldenParts(copy::AILanguage::zh)).toUtf8(), dataFile("summary_prompt_zh.txt"));
}

TEST_F(SummaryStepTest, ThePromptIsTheAgreedOneInEnglish) {
    EXPECT_EQ(AIPipeline::prompt(goldenParts(copy::AILanguage::en)).toUtf8(), dataFile("summary_prompt_en.txt"));
}

TEST_F(SummaryStepTest, TheSchemaIsTheAgreedOne) {
    EXPECT_EQ(AIPipeline::schema(), dataFile("summary_schema.json").toStdString());
    EXPECT_TRUE(parsed(QByteArray::fromStdString(AIPipeline::schema())).isObject());
}

TEST_F(SummaryStepTest, WhatIsMissingInThePromptIsSaidToBe) {
    EXPECT_EQ(lines({}), (QStringList{{},
                                      {},
                                      u"會議標題：沒有"_s,
                                      u"類型：沒有"_s,
                                      u"在場的人：沒有"_s,
                                      {},
                                      u"逐字稿："_s,
                                      {},
                                      u"使用者的補充："_s,
                                      u"沒有"_s}));
}

TEST_F(SummaryStepTest, AnEmptyTitleIsNoneButAnEmptyTypeStaysEmpty) {
    AIPipeline::SummaryPrompt parts;
    parts.title = u""_s;
    parts.type = u""_s;
    EXPECT_EQ(lines(parts)[2], u"會議標題：沒有"_s);
    EXPECT_EQ(lines(parts)[3], u"類型："_s);
}

TEST_F(SummaryStepTest, NotesOfBlanksAreNone) {
    AIPipeline::SummaryPrompt parts;
    parts.notes = u" \n\t"_s;
    EXPECT_EQ(lines(parts).last(), u"沒有"_s);
}

TEST_F(SummaryStepTest, ThePromptGoesToStandardInputWithTheMeetingsOwnValues) {
    write("meta.json",
          R"({"start": "2025-03-07T09:00:00+08:00", "note": "Weekly", "type": "Work", "people": ["Bob", "小明"]})");
    write("notes.md", "Marten is Martina\n");
    ASSERT_TRUE(AIPipeline::summarize(folder, context()));
    EXPECT_TRUE(question().startsWith(Strings::aiPromptRules(u"Ann"_s, copy::AILanguage::en)));
    EXPECT_TRUE(question().endsWith(
        u"\n\n會議標題：Weekly\n類型：Work\n在場的人：Bob、小明\n\n逐字稿：\n00:01 我：Hello world\n01:05 對方：你好\n\n使用者的補充：\nMarten is Martina"_s));
}

TEST_F(SummaryStepTest, TheToolStartsInAnEmptyFolderOfItsOwnWithTheSchemaOnItsCommandLine) {
    ASSERT_TRUE(AIPipeline::summarize(folder, context()));
    const auto call = fake.claudeCalls().front();
    EXPECT_EQ(call.find(u"folderIsEmpty")->toBool(), true);
    EXPECT_EQ(base::pathFrom(*call.find(u"folder")->toString()).parent_path(), workRoot);
    const auto arguments = *call.find(u"arguments")->toStringList();
    EXPECT_EQ(arguments.last(), QString::fromStdString(AIPipeline::schema()));
    EXPECT_FALSE(arguments.join(u' ').contains(u"Hello"));
}

TEST_F(SummaryStepTest, AReplyIsStoredWithItsStamps) {
    EXPECT_EQ(base::writeJson(summary()), R"({
  "actions" : [
    {
      "due" : "Friday",
      "mine" : false,
      "what" : "Send the numbers",
      "who" : "Bob"
    }
  ],
  "conclusion" : "We ship the week after next.",
  "decisions" : [
    "Ship the week after next"
  ],
  "generatedAt" : "2025-03-07T09:30:12+08:00",
  "notes" : [
    "The numbers are late."
  ],
  "points" : [
    {
      "items" : [
        "Launch moved by a week.",
        "Numbers are missing."
      ],
      "title" : "Launch"
    }
  ],
  "source" : "claude",
  "transcriptGeneratedAt" : "2025-03-07T09:20:00+08:00",
  "version" : 4
})");
    EXPECT_EQ(read("summary.json"), base::writeJson(parsed(read("summary.json"))));
}

TEST_F(SummaryStepTest, ATranscriptWithoutADateLeavesTheKeyOut) {
    write("transcript.json", R"({"segments": [{"text": "hi"}]})");
    EXPECT_EQ(summary().find(u"transcriptGeneratedAt"), nullptr);
}

TEST_F(SummaryStepTest, NotesThatTookPartAreRemembered) {
    write("notes.md", "x");
    EXPECT_EQ(summary().find(u"notesIncluded")->toBool(), true);
}

TEST_F(SummaryStepTest, NotesOfBlanksTakeNoPart) {
    write("notes.md", " \n\t ");
    EXPECT_EQ(summary().find(u"notesIncluded"), nullptr);
    EXPECT_TRUE(question().endsWith(u"使用者的補充：\n沒有"_s));
}

TEST_F(SummaryStepTest, WithoutAUsableTranscriptNothingIsAsked) {
    for (const char* file : {"", "nonsense", "{}", R"({"segments": []})", R"({"segments": [{"text": " "}]})"}) {
        write("transcript.json", file);
        EXPECT_EQ(failure(), Strings::aiNeedTranscript) << file;
    }
    std::filesystem::remove(folder / "transcript.json");
    tools.claude = "/nonexistent/claude";
    EXPECT_EQ(failure(), Strings::aiNeedTranscript) << "asked before the tool is looked for";
    EXPECT_TRUE(fake.claudeCalls().empty());
}

TEST_F(SummaryStepTest, AMissingToolIsNamed) {
    tools.claude = "/nonexistent/claude";
    EXPECT_EQ(failure(), u"找不到 /nonexistent/claude"_s);
}

TEST_F(SummaryStepTest, AToolThatCannotBeLaunchedIsAnErrorInTheSystemsWords) {
    write("tool", "no program");
    std::filesystem::permissions(folder / "tool", std::filesystem::perms::owner_all);
    tools.claude = folder / "tool";
    EXPECT_EQ(failure(), Strings::aiErrClaude(base::fileError(ENOEXEC).text));
}

TEST_F(SummaryStepTest, AFailingToolIsQuotedByItsResultThenItsLastLineThenItsStatus) {
    fake.planClaude(R"({"exit": 1, "stderr": "stack\nlast line\n", "envelope": {"result": "Credit is too low"}})");
    EXPECT_EQ(failure(), u"Claude 出錯：Credit is too low"_s);
    fake.planClaude(R"({"exit": 1, "stderr": "stack\nlast line\n", "envelope": {"result": ""}})");
    EXPECT_EQ(failure(), u"Claude 出錯：last line"_s);
    fake.planClaude(R"({"exit": 1, "stderr": "stack\nlast line\n", "stdout": "no json"})");
    EXPECT_EQ(failure(), u"Claude 出錯：last line"_s);
    fake.planClaude(R"({"exit": 7, "stdout": "only standard output"})");
    EXPECT_EQ(failure(), u"Claude 出錯：exit 7"_s);
    EXPECT_FALSE(has("summary.json"));
}

TEST_F(SummaryStepTest, AFailingToolThatGaveAStructuredAnswerIsBelieved) {
    fake.planClaude(R"({"exit": 1, "envelope": {"is_error": true, "structured_output": {"decisions": ["yes"]}}})");
    EXPECT_EQ(summary().find(u"decisions")->toStringList(), QStringList{u"yes"_s});
}

TEST_F(SummaryStepTest, AFencedAnswerIsRead) {
    fake.planClaude(R"({"result": "```json\n{\"decisions\": [\"yes\"]}\n```"})");
    EXPECT_EQ(summary().find(u"decisions")->toStringList(), QStringList{u"yes"_s});
}

TEST_F(SummaryStepTest, AnAnswerThatCannotBeReadIsAnError) {
    for (const char* plan : {R"({"stdout": ""})", R"({"stdout": "words"})", R"({"raw": "\u00ff\u00fe"})",
                             R"({"raw": "x", "repeat": 20000000})", R"({"result": "I can't do that."})"}) {
        fake.planClaude(plan);
        EXPECT_EQ(failure(), Strings::aiErrClaudeOutput) << plan;
    }
}

TEST_F(SummaryStepTest, ACancelledToolIsAQuitNotAnError) {
    runner.cancel();
    EXPECT_EQ(failure(), Strings::aiErrCancelled);
}

TEST_F(SummaryStepTest, AToolThatDoesNotReadItsPromptIsHeardAllTheSame) {
    write("notes.md", QByteArray(1'000'000, 'n'));
    fake.planClaude(R"({"readsNothing": true})");
    EXPECT_NE(summary().find(u"conclusion"), nullptr);
}

TEST_F(SummaryStepTest, AnEmptyAnswerIsAnError) {
    fake.planClaude(R"({"reply": {"conclusion": "", "decisions": [], "actions": [], "points": [], "notes": []}})");
    EXPECT_EQ(failure(), Strings::aiErrEmpty);
    fake.planClaude(R"({"reply": {}})");
    EXPECT_EQ(failure(), Strings::aiErrEmpty);
    fake.planClaude(
        R"({"reply": {"conclusion": 5, "decisions": "x", "actions": {"what": "y"}, "points": 1, "notes": true}})");
    EXPECT_EQ(failure(), Strings::aiErrEmpty) << "every field of another type";
}

TEST_F(SummaryStepTest, AutomaticWorkLeavesASummaryAloneAndSucceeds) {
    write("summary.json", "mine");
    EXPECT_TRUE(AIPipeline::summarize(folder, context(true)));
    EXPECT_EQ(read("summary.json"), "mine");
    EXPECT_FALSE(std::filesystem::exists(trash));
}

TEST_F(SummaryStepTest, AManualRunPutsTheOldSummaryIntoTheTrash) {
    write("summary.json", "old");
    EXPECT_EQ(summary().find(u"source")->toString(), u"claude"_s);
    EXPECT_EQ(base::readFile(trash / "summary.json"), QByteArray("old"));
}

TEST_F(SummaryStepTest, WhenTheTrashRefusesNothingIsWritten) {
    write("summary.json", "old");
    trashRefuses = base::fileError(ENOSPC);
    EXPECT_EQ(failure(), Strings::mainSaveFailed(base::fileError(ENOSPC).text));
    EXPECT_EQ(read("summary.json"), "old");
}

TEST_F(SummaryStepTest, AFolderThatIsRemovedMeanwhileFailsTheWriteAndIsNotMadeAgain) {
    fake.planClaude("{\"remove\": \"" + base::pathText(folder).toUtf8() + "\"}");
    EXPECT_EQ(failure(), Strings::mainSaveFailed(base::fileError(ENOENT).text));
    EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST_F(SummaryStepTest, OthersGetEightActionsAndTheOwnOnesHaveNoLimit) {
    QByteArray actions;
    for (int i = 1; i <= 9; ++i) {
        actions += "{\"what\": \"other " + QByteArray::number(i) + "\", \"mine\": false},";
    }
    actions += R"({"what": " ", "mine": false}, {"what": "own", "mine": true})";
    const auto kept = stored("{\"actions\": [" + actions + "]}");
    const auto& list = *kept.find(u"actions")->toArray();
    ASSERT_EQ(list.size(), 9U);
    EXPECT_EQ(list[7].find(u"what")->toString(), u"other 8"_s);
    EXPECT_EQ(list[8].find(u"what")->toString(), u"own"_s);
}

TEST_F(SummaryStepTest, ABlankActionDoesNotCountTowardsTheLimit) {
    QByteArray actions = R"({"what": " ", "mine": false}, {"who": "Bob"}, "text", 5)";
    for (int i = 1; i <= 8; ++i) {
        actions += ",{\"what\": \"x\", \"mine\": false}";
    }
    EXPECT_EQ(stored("{\"actions\": [" + actions + "]}").find(u"actions")->toArray()->size(), 8U);
}

TEST_F(SummaryStepTest, WithoutMineTheNameDecides) {
    EXPECT_EQ(
        storedText(R"({"actions": [{"who": "ANN", "what": "a"}, {"who": "Bob", "what": "b", "due": " "},
                             {"who": null, "what": "c", "due": 5, "mine": "yes"}]})",
                   u"actions"),
        R"([{"who":"ANN","what":"a","due":null,"mine":true},{"who":"Bob","what":"b","due":null,"mine":false},{"who":null,"what":"c","due":null,"mine":false}])");
}

TEST_F(SummaryStepTest, APointWithOnlyATitleIsItsOwnItem) {
    EXPECT_EQ(
        storedText(
            R"({"points": [{"title": "alone"}, "text", {"title": "t", "items": [" a ", 5, ""], "text": "b"}, {}, 3]})",
            u"points"),
        R"([{"title":"","items":["alone"]},{"title":"","items":["text"]},{"title":"t","items":["a","b"]}])");
}

TEST_F(SummaryStepTest, EveryListHasItsLimit) {
    EXPECT_EQ(
        storedText(R"({"points": [{"title": "t", "items": ["1", "2", "3", "4", "5", "6"], "text": "7"}]})", u"points"),
        R"([{"title":"t","items":["1","2","3","4","5","6"]}])");
    EXPECT_EQ(storedText(R"({"points": ["", "1", "2", "3", "4", "5", "6"]})", u"points").count("title"), 5);
    EXPECT_EQ(storedText(R"({"decisions": ["", "1", "2", "3", "4", "5", "6"]})", u"decisions"),
              R"(["1","2","3","4","5"])");
    EXPECT_EQ(storedText(R"({"notes": [null, "1", "2", "3", "4"]})", u"notes"), R"(["1","2","3"])");
}

TEST_F(SummaryStepTest, EveryTextIsCleaned) {
    const auto object = stored(R"({"conclusion": " Ship — now\nor never ", "decisions": ["a – b"],
        "actions": [{"who": " Bob\n", "what": "x — y", "due": "Fri – Sat"}], "points": [{"title": "t — u", "items": ["i\nj"]}],
        "notes": ["n — o"]})");
    EXPECT_EQ(
        base::writeCompactJson(object, base::KeyOrder::AsGiven),
        QByteArray(
            R"({"version":4,"generatedAt":"","source":"claude","conclusion":"Ship，now or never","decisions":["a，b"],)"
            R"("actions":[{"who":"Bob","what":"x，y","due":"Fri，Sat","mine":false}],)"
            R"("points":[{"title":"t，u","items":["i j"]}],"notes":["n，o"]})"));
}

TEST_F(SummaryStepTest, OneDecisionAloneIsEnough) {
    const auto object = stored(R"({"decisions": ["yes"]})");
    EXPECT_EQ(object.find(u"conclusion")->toString(), u""_s);
    EXPECT_EQ(object.find(u"points")->toArray()->size(), 0U);
}

TEST_F(SummaryStepTest, WhatIsStoredReadsBack) {
    ASSERT_TRUE(AIPipeline::summarize(folder, context()));
    const auto summary = MeetingSummary::parse(read("summary.json"));
    ASSERT_TRUE(summary);
    EXPECT_EQ(summary->version, 4);
    EXPECT_EQ(summary->actions.front().who, u"Bob"_s);
    EXPECT_EQ(summary->generatedAt, clock.time.toUTC());
}
