#include "practice/PitchStats.h"

#include "copy/Strings.h"
#include "practice/StoredNumbers.h"

#include <array>
#include <utility>

namespace practice {

using namespace Qt::StringLiterals;
using base::Json;

namespace {

constexpr std::array<std::pair<PitchStats::Level, QStringView>, 3> levelNames{{
    {PitchStats::Level::Lively, u"lively"},
    {PitchStats::Level::Normal, u"normal"},
    {PitchStats::Level::Flat, u"flat"},
}};

Json json(const PitchStats::Window& window) {
    return Json(Json::Object{
        {u"start"_s, Json::oneDecimal(window.start)},
        {u"end"_s, Json::oneDecimal(window.end)},
        {u"voicedSeconds"_s, Json::oneDecimal(window.voicedSeconds)},
        {u"semitoneSD"_s, Stored::orNull(window.semitoneSD)},
    });
}

Json json(const std::optional<PitchStats::Flattest>& flattest) {
    if (!flattest) {
        return nullptr;
    }
    return Json(Json::Object{
        {u"start"_s, Json::oneDecimal(flattest->start)},
        {u"end"_s, Json::oneDecimal(flattest->end)},
        {u"semitoneSD"_s, Json::oneDecimal(flattest->semitoneSD)},
        {u"sentence"_s, Json::orNull(flattest->sentence)},
        {u"sentenceStart"_s, Stored::orNull(flattest->sentenceStart)},
    });
}

std::vector<PitchStats::Window> parseWindows(const Json* value) {
    std::vector<PitchStats::Window> windows;
    const Json::Array* elements = value != nullptr ? value->toArray() : nullptr;
    for (const Json& element : elements != nullptr ? *elements : Json::Array{}) {
        const auto start = Stored::number(element, u"start");
        const auto end = Stored::number(element, u"end");
        if (start && end) {
            windows.push_back({*start, *end, Stored::number(element, u"voicedSeconds").value_or(0),
                               Stored::number(element, u"semitoneSD")});
        }
    }
    return windows;
}

std::optional<PitchStats::Flattest> parseFlattest(const Json* value) {
    if (value == nullptr) {
        return std::nullopt;
    }
    const auto start = Stored::number(*value, u"start");
    const auto end = Stored::number(*value, u"end");
    const auto sd = Stored::number(*value, u"semitoneSD");
    if (!start || !end || !sd) {
        return std::nullopt;
    }
    const Json* sentence = value->find(u"sentence");
    auto text = sentence != nullptr ? sentence->toString() : std::nullopt;
    if (text && text->isEmpty()) {
        text.reset();
    }
    return PitchStats::Flattest{*start, *end, *sd, std::move(text), Stored::number(*value, u"sentenceStart")};
}

} // namespace

QString levelName(PitchStats::Level level) {
    for (const auto& [known, name] : levelNames) {
        if (known == level) {
            return name.toString();
        }
    }
    return {};
}

std::optional<PitchStats::Level> levelNamed(QStringView name) {
    for (const auto& [level, known] : levelNames) {
        if (known == name) {
            return level;
        }
    }
    return std::nullopt;
}

QString levelText(PitchStats::Level level) {
    switch (level) {
    case PitchStats::Level::Lively:
        return copy::Strings::pitchLively;
    case PitchStats::Level::Normal:
        return copy::Strings::pitchNormal;
    case PitchStats::Level::Flat:
        return copy::Strings::pitchFlat;
    }
    return {};
}

bool PitchStats::enough() const {
    return voicedSeconds >= minVoicedSeconds && semitoneSD.has_value();
}

std::optional<PitchStats::Level> PitchStats::level() const {
    return enough() ? std::optional(level(*semitoneSD)) : std::nullopt;
}

PitchStats::Level PitchStats::level(double sd) {
    if (sd < flatBelow) {
        return Level::Flat;
    }
    return sd >= livelyFrom ? Level::Lively : Level::Normal;
}

QString PitchStats::levelText() const {
    const auto rated = level();
    return rated ? practice::levelText(*rated) : copy::Strings::pitchNotEnough.toString();
}

Json PitchStats::json() const {
    Json::Array curve;
    for (const Window& window : windows) {
        curve.push_back(practice::json(window));
    }
    const auto rated = level();
    return Json(Json::Object{
        {u"voicedSeconds"_s, Json::oneDecimal(voicedSeconds)},
        {u"enough"_s, Json(enough())},
        {u"level"_s, rated ? Json(levelName(*rated)) : Json()},
        {u"medianHz"_s, Stored::orNull(medianHz)},
        {u"semitoneSD"_s, Stored::orNull(semitoneSD)},
        {u"p10"_s, Stored::orNull(p10)},
        {u"p90"_s, Stored::orNull(p90)},
        {u"rangeSemitones"_s, Stored::orNull(rangeSemitones)},
        {u"octaveFramesDropped"_s, Json::integer(octaveFramesDropped)},
        {u"windowSeconds"_s, Json::oneDecimal(windowSeconds)},
        {u"windows"_s, Json(std::move(curve))},
        {u"thresholds"_s, Json(Json::Object{
                              {u"flatBelow"_s, Json::oneDecimal(flatBelow)},
                              {u"livelyFrom"_s, Json::oneDecimal(livelyFrom)},
                              {u"minVoicedSeconds"_s, Json::oneDecimal(minVoicedSeconds)},
                          })},
        {u"flattest"_s, practice::json(flattest)},
    });
}

std::optional<PitchStats> PitchStats::parse(const Json& value) {
    if (!value.isObject()) {
        return std::nullopt;
    }
    PitchStats stats;
    stats.voicedSeconds = Stored::number(value, u"voicedSeconds").value_or(0);
    stats.medianHz = Stored::number(value, u"medianHz");
    stats.semitoneSD = Stored::number(value, u"semitoneSD");
    stats.p10 = Stored::number(value, u"p10");
    stats.p90 = Stored::number(value, u"p90");
    stats.rangeSemitones = Stored::number(value, u"rangeSemitones");
    stats.octaveFramesDropped = Stored::integer(value, u"octaveFramesDropped");
    stats.windows = parseWindows(value.find(u"windows"));
    stats.flattest = parseFlattest(value.find(u"flattest"));
    return stats;
}

} // namespace practice
