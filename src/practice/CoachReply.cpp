#include "ai/ClaudeReply.h"
#include "ai/ReplyText.h"
#include "ai/TranscriptCleaner.h"
#include "base/Text.h"
#include "copy/Strings.h"
#include "practice/CoachFields_p.h"
#include "practice/CoachStep.h"

#include <algorithm>
#include <utility>

namespace practice::AIPipeline {

using namespace Qt::StringLiterals;
using ai::AIPipeline::cleanText;
using base::Json;

namespace {

/// The user's own words: what is not Chinese keeps a comma of its own script.
std::optional<QString> cleanOwnWords(const Json& value) {
    const auto text = value.toString();
    if (!text || ai::TranscriptCleaner::isCJK(*text)) {
        return cleanText(value);
    }
    QString clean = base::Text::trimmed(ai::AIPipeline::noDashesLatin(ai::AIPipeline::oneLine(*text)));
    return clean.isEmpty() ? std::nullopt : std::optional(std::move(clean));
}

QString orEmpty(std::optional<QString> text) {
    return std::move(text).value_or(QString(u""_s));
}

Json::Array coverageFrom(const Json& reply) {
    Json::Array coverage;
    for (const Json& element : Fields::array(reply, u"coverage")) {
        if (auto point = Fields::text(element, u"point", cleanText)) {
            coverage.emplace_back(Json::Object{{u"point"_s, *std::move(point)},
                                               {u"covered"_s, Fields::flag(element, u"covered")},
                                               {u"note"_s, orEmpty(Fields::text(element, u"note", cleanText))}});
        }
    }
    return coverage;
}

Json::Array rewritesFrom(const Json& reply) {
    Json::Array rewrites;
    for (const Json& element : Fields::array(reply, u"rewrites")) {
        auto before = Fields::text(element, u"before", cleanOwnWords);
        auto after = Fields::text(element, u"after", cleanOwnWords);
        if (before && after && *before != *after && rewrites.size() < maxRewrites) {
            rewrites.emplace_back(Json::Object{{u"before"_s, *std::move(before)},
                                               {u"after"_s, *std::move(after)},
                                               {u"why"_s, orEmpty(Fields::text(element, u"why", cleanText))}});
        }
    }
    return rewrites;
}

Json firstTexts(const Json& reply, QStringView key, qsizetype limit) {
    const QStringList texts = Fields::texts(reply, key, cleanText);
    return Json(texts.first(std::min(texts.size(), limit)));
}

} // namespace

const std::string& coachSchema() {
    static const std::string text =
        R"({"type":"object","additionalProperties":false,)"
        R"("required":["verdict","focus","focusHow","wentWell","coverage","rewrites","delivery"],)"
        R"("properties":{"verdict":{"type":"string"},"focus":{"type":"string"},"focusHow":{"type":"string"},)"
        R"("wentWell":{"type":"array","items":{"type":"string"}},)"
        R"("coverage":{"type":"array","items":{"type":"object","additionalProperties":false,)"
        R"("required":["point","covered","note"],)"
        R"("properties":{"point":{"type":"string"},"covered":{"type":"boolean"},"note":{"type":"string"}}}},)"
        R"("rewrites":{"type":"array","items":{"type":"object","additionalProperties":false,)"
        R"("required":["before","after","why"],)"
        R"("properties":{"before":{"type":"string"},"after":{"type":"string"},"why":{"type":"string"}}}},)"
        R"("delivery":{"type":"array","items":{"type":"string"}}}})";
    return text;
}

std::vector<std::string> coachArguments() {
    return ai::AIPipeline::claudeArguments(coachSchema());
}

std::expected<Json, ai::AIFailure> coachObject(const Json& reply, const PracticeStats& stats, Notes notes,
                                               const CoachStamps& stamps) {
    const auto verdict = Fields::text(reply, u"verdict", cleanText);
    const auto focus = Fields::text(reply, u"focus", cleanText);
    if (!verdict && !focus) {
        return std::unexpected(ai::AIFailure{ai::AIStep::Summarize, copy::Strings::aiErrEmptyCoach});
    }
    Json object(Json::Object{
        {u"version"_s, Json::integer(coachVersion)},
        {u"generatedAt"_s, stamps.generatedAt},
        {u"source"_s, u"claude"_s},
        {u"verdict"_s, orEmpty(verdict)},
        {u"focus"_s, orEmpty(focus)},
        {u"focusHow"_s, orEmpty(Fields::text(reply, u"focusHow", cleanText))},
        {u"wentWell"_s, firstTexts(reply, u"wentWell", maxWentWell)},
        {u"coverage"_s, notes == Notes::Given ? coverageFrom(reply) : Json::Array{}},
        {u"rewrites"_s, rewritesFrom(reply)},
        {u"delivery"_s, firstTexts(reply, u"delivery", maxDelivery)},
        {u"stats"_s, stats.json(stamps.timeZone)},
    });
    if (stamps.transcriptGeneratedAt) {
        object.set(u"transcriptGeneratedAt"_s, *stamps.transcriptGeneratedAt);
    }
    if (notes == Notes::Given) {
        object.set(u"notesIncluded"_s, true);
    }
    return object;
}

} // namespace practice::AIPipeline
