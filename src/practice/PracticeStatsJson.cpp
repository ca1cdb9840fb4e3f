#include "practice/PracticeStats.h"
#include "practice/StoredNumbers.h"
#include "store/Timestamp.h"

#include <utility>

namespace practice {

using namespace Qt::StringLiterals;
using base::Json;

namespace {

Json orNull(const std::optional<std::int64_t>& value) {
    return value ? Json::integer(*value) : Json();
}

Json fillersJson(const std::vector<PracticeStats::Filler>& fillers) {
    Json::Array elements;
    for (const PracticeStats::Filler& filler : fillers) {
        elements.push_back(Json::Object{
            {u"word"_s, Json(filler.word)},
            {u"count"_s, Json::integer(filler.count)},
        });
    }
    return elements;
}

/// Derived, for whoever reads the file; never read back.
Json changeJson(const PracticeStats& stats) {
    return Json::Object{
        {u"wordsPerMinute"_s, orNull(stats.wordsPerMinuteChange())},
        {u"fillersPerMinute"_s, Stored::orNull(stats.fillersPerMinuteChange())},
        {u"longPauses"_s, orNull(stats.longPausesChange())},
        {u"pitchSemitoneSD"_s, Stored::orNull(stats.pitchChange())},
    };
}

Json previousJson(const PracticeStats& stats, const QTimeZone& zone) {
    if (!stats.previous) {
        return nullptr;
    }
    const PracticeStats::Previous& previous = *stats.previous;
    return Json::Object{
        {u"folder"_s, Json(previous.folder)},
        {u"start"_s, previous.start ? Json(store::Timestamp::text(*previous.start, zone)) : Json()},
        {u"wordsPerMinute"_s, Json::integer(previous.wordsPerMinute)},
        {u"fillersPerMinute"_s, Json::oneDecimal(previous.fillersPerMinute)},
        {u"longPauses"_s, Json::integer(previous.longPauses)},
        {u"pitchSemitoneSD"_s, Stored::orNull(previous.pitchSemitoneSD)},
        {u"change"_s, changeJson(stats)},
    };
}

std::optional<QString> textAt(const Json& map, QStringView key) {
    const Json* found = map.find(key);
    return found != nullptr ? found->toString() : std::nullopt;
}

std::vector<PracticeStats::Filler> parseFillers(const Json* value) {
    std::vector<PracticeStats::Filler> fillers;
    const Json::Array* elements = value != nullptr ? value->toArray() : nullptr;
    if (elements == nullptr) {
        return fillers;
    }
    for (const Json& element : *elements) {
        if (auto word = textAt(element, u"word")) {
            fillers.push_back({*std::move(word), Stored::integer(element, u"count")});
        }
    }
    return fillers;
}

std::optional<PracticeStats::Previous> parsePrevious(const Json* value) {
    if (value == nullptr || !value->isObject()) {
        return std::nullopt;
    }
    const auto start = textAt(*value, u"start");
    return PracticeStats::Previous{
        .folder = textAt(*value, u"folder").value_or(QString()),
        .start = start ? store::Timestamp::parse(*start) : std::nullopt,
        .wordsPerMinute = Stored::integer(*value, u"wordsPerMinute"),
        .fillersPerMinute = Stored::number(*value, u"fillersPerMinute").value_or(0),
        .longPauses = Stored::integer(*value, u"longPauses"),
        .pitchSemitoneSD = Stored::number(*value, u"pitchSemitoneSD"),
    };
}

} // namespace

Json PracticeStats::json(const QTimeZone& zone) const {
    return Json::Object{
        {u"spokenSeconds"_s, Json::oneDecimal(spokenSeconds)},
        {u"words"_s, Json::integer(words)},
        {u"wordsPerMinute"_s, Json::integer(wordsPerMinute)},
        {u"firstHalfWordsPerMinute"_s, Json::integer(firstHalfWordsPerMinute)},
        {u"secondHalfWordsPerMinute"_s, Json::integer(secondHalfWordsPerMinute)},
        {u"longPauses"_s, Json::integer(longPauses)},
        {u"longPauseMinSeconds"_s, Json::oneDecimal(longPauseSeconds)},
        {u"longestPauseSeconds"_s, Stored::orNull(longestPauseSeconds)},
        {u"longestPauseAt"_s, Stored::orNull(longestPauseAt)},
        {u"fillers"_s, fillersJson(fillers)},
        {u"fillerCount"_s, Json::integer(fillerCount)},
        {u"fillersPerMinute"_s, Json::oneDecimal(fillersPerMinute)},
        {u"pitch"_s, pitch ? pitch->json() : Json()},
        {u"previous"_s, previousJson(*this, zone)},
    };
}

std::optional<PracticeStats> PracticeStats::parse(const Json& value) {
    if (!value.isObject()) {
        return std::nullopt;
    }
    const Json* pitch = value.find(u"pitch");
    return PracticeStats{
        .spokenSeconds = Stored::number(value, u"spokenSeconds").value_or(0),
        .words = Stored::integer(value, u"words"),
        .wordsPerMinute = Stored::integer(value, u"wordsPerMinute"),
        .firstHalfWordsPerMinute = Stored::integer(value, u"firstHalfWordsPerMinute"),
        .secondHalfWordsPerMinute = Stored::integer(value, u"secondHalfWordsPerMinute"),
        .longPauses = Stored::integer(value, u"longPauses"),
        .longestPauseSeconds = Stored::number(value, u"longestPauseSeconds"),
        .longestPauseAt = Stored::number(value, u"longestPauseAt"),
        .fillers = parseFillers(value.find(u"fillers")),
        .fillerCount = Stored::integer(value, u"fillerCount"),
        .fillersPerMinute = Stored::number(value, u"fillersPerMinute").value_or(0),
        .pitch = pitch != nullptr ? PitchStats::parse(*pitch) : std::nullopt,
        .previous = parsePrevious(value.find(u"previous")),
    };
}

} // namespace practice
