#include "ai/SummaryStep.h"

#include "ai/ClaudeReply.h"
#include "ai/MeetingContent.h"
#include "ai/ReplyText.h"
#include "ai/Stamp.h"
#include "ai/StoredObject.h"
#include "ai/SummaryPoint_p.h"
#include "base/Text.h"
#include "copy/Prompts.h"
#include "copy/Strings.h"
#include "store/MeetingLibrary.h"

using namespace Qt::StringLiterals;

namespace ai::AIPipeline {
namespace {

using base::Json;
namespace Strings = copy::Strings;

AIFailure failure(const QString& message) {
    return {AIStep::Summarize, message};
}

QString orNone(const QString& text) {
    return text.isEmpty() ? Strings::aiPromptNone.toString() : text;
}

QString transcriptLine(const Transcript::Segment& segment) {
    const QString speaker = segment.speaker == Transcript::me ? Strings::speakerMe : Strings::speakerThem;
    return Strings::clock(segment.start) + u" " + speaker + u"：" + segment.text;
}

/// nullopt: no task is told.
std::optional<MeetingSummary::Action> actionFrom(const Json& element) {
    auto what = textAt(element, u"what", cleanText);
    if (!what) {
        return std::nullopt;
    }
    MeetingSummary::Action action{
        .who = textAt(element, u"who", cleanText), .what = std::move(*what), .due = textAt(element, u"due", cleanText)};
    action.mine = boolAt(element, u"mine").value_or(MeetingSummary::isOwnName(action.who));
    return action;
}

Json::Array actionsFrom(const Json& reply) {
    Json::Array actions;
    std::size_t others = 0;
    for (const auto& element : arrayAt(reply, u"actions")) {
        const auto action = actionFrom(element);
        if (!action || (!action->mine && ++others > maxOtherActions)) {
            continue;
        }
        actions.emplace_back(Json::Object{{u"who"_s, Json::orNull(action->who)},
                                          {u"what"_s, action->what},
                                          {u"due"_s, Json::orNull(action->due)},
                                          {u"mine"_s, action->mine}});
    }
    return actions;
}

Json::Array pointsFrom(const Json& reply) {
    Json::Array points;
    for (const auto& element : arrayAt(reply, u"points")) {
        if (points.size() == maxPoints) {
            break;
        }
        if (const auto point = pointFrom(element, cleanText)) {
            points.emplace_back(
                Json::Object{{u"title"_s, point->title.value_or(QString(u""_s))}, {u"items"_s, Json(point->items)}});
        }
    }
    return points;
}

QStringList firstTexts(const Json& reply, QStringView key, qsizetype limit) {
    const auto texts = textsAt(reply, key, cleanText);
    return texts.first(std::min(texts.size(), limit));
}

} // namespace

const std::string& schema() {
    static const std::string text =
        R"({"type":"object","additionalProperties":false,)"
        R"("required":["conclusion","decisions","actions","points","notes"],)"
        R"("properties":{"conclusion":{"type":"string"},)"
        R"("decisions":{"type":"array","maxItems":5,"items":{"type":"string"}},)"
        R"("actions":{"type":"array","items":{"type":"object","additionalProperties":false,)"
        R"("required":["who","what","due","mine"],)"
        R"("properties":{"who":{"type":["string","null"]},"what":{"type":"string"},"due":{"type":["string","null"]},"mine":{"type":"boolean"}}}},)"
        R"("points":{"type":"array","maxItems":5,)"
        R"("items":{"type":"object","additionalProperties":false,"required":["title","items"],"properties":{"title":{"type":"string"},"items":{"type":"array","maxItems":6,"items":{"type":"string"}}}}},)"
        R"("notes":{"type":"array","maxItems":3,"items":{"type":"string"}}}})";
    return text;
}

QString prompt(const SummaryPrompt& parts) {
    QStringList lines{
        Strings::aiPromptRules(parts.name, parts.language),
        QString(),
        Strings::aiPromptTitle + orNone(parts.title.value_or(QString())),
        // An absent type is told, an empty one is left empty.
        Strings::aiPromptType + parts.type.value_or(Strings::aiPromptNone),
        Strings::aiPromptPeople + orNone(parts.people.join(u'、')),
        QString(),
        Strings::aiPromptTranscript,
    };
    for (const auto& segment : parts.transcript) {
        lines.append(transcriptLine(segment));
    }
    lines.append({QString(), Strings::aiPromptNotes, orNone(base::Text::trimmed(parts.notes))});
    return lines.join(u'\n');
}

std::expected<Json, AIFailure> summaryObject(const Json& reply, const SummaryStamps& stamps) {
    auto actions = actionsFrom(reply);
    auto points = pointsFrom(reply);
    const auto conclusion = textAt(reply, u"conclusion", cleanText);
    const auto decisions = firstTexts(reply, u"decisions", maxDecisions);
    const auto notes = firstTexts(reply, u"notes", maxNotes);
    if (!conclusion && decisions.isEmpty() && actions.empty() && points.empty() && notes.isEmpty()) {
        return std::unexpected(failure(Strings::aiErrEmpty));
    }
    Json object(Json::Object{{u"version"_s, Json::integer(summaryVersion)},
                             {u"generatedAt"_s, stamps.generatedAt},
                             {u"source"_s, u"claude"_s},
                             {u"conclusion"_s, conclusion.value_or(QString(u""_s))},
                             {u"decisions"_s, Json(decisions)},
                             {u"actions"_s, std::move(actions)},
                             {u"points"_s, std::move(points)},
                             {u"notes"_s, Json(notes)}});
    if (stamps.transcriptGeneratedAt) {
        object.set(u"transcriptGeneratedAt"_s, *stamps.transcriptGeneratedAt);
    }
    if (stamps.notesIncluded) {
        object.set(u"notesIncluded"_s, true);
    }
    return object;
}

StepResult summarize(const std::filesystem::path& folder, const StepContext& context) {
    const auto record = store::MeetingLibrary::record(folder);
    const auto state = MeetingContent::transcript(record);
    const auto* transcript = state.value();
    if (transcript == nullptr || transcript->segments.empty()) {
        return std::unexpected(failure(Strings::aiNeedTranscript));
    }
    if (!context.tools.claudeFound()) {
        return std::unexpected(failure(Strings::aiErrMissing(base::pathText(context.tools.claude))));
    }
    const auto notes = store::MeetingLibrary::readNotes(record);
    const auto question = prompt({.title = record.note,
                                  .type = record.type,
                                  .people = record.people,
                                  .transcript = transcript->merged(),
                                  .notes = notes,
                                  .name = copy::UserName::current(),
                                  .language = copy::AILanguage::current()});
    const auto reply = askClaude(question, claudeArguments(schema()), context);
    if (!reply) {
        return std::unexpected(reply.error());
    }
    const auto stampOf = [&](const QDateTime& date) { return stamp(date, context.clock); };
    const auto object = summaryObject(*reply, {.generatedAt = stampOf(context.clock.now()),
                                               .transcriptGeneratedAt = transcript->generatedAt.transform(stampOf),
                                               .notesIncluded = !base::Text::trimmed(notes).isEmpty()});
    if (!object) {
        return std::unexpected(object.error());
    }
    return write(*object, record.summaryURL(), context);
}

} // namespace ai::AIPipeline
