#include "store/MeetingMeta.h"

#include "base/Json.h"
#include "base/Text.h"
#include "store/Timestamp.h"

#include <cerrno>
#include <cmath>

namespace store {

using namespace Qt::StringLiterals;

namespace {

/// Reads the members of one object; `failed` tells whether any was missing or of another type.
class StrictReader {
public:
    explicit StrictReader(const base::Json& object) : m_object(object) {}

    template<typename Value>
    Value required(QStringView key, std::optional<Value> (base::Json::*typed)() const) {
        const base::Json* found = m_object.find(key);
        auto value = found != nullptr ? (found->*typed)() : std::nullopt;
        m_failed = m_failed || !value;
        return value ? std::move(*value) : Value();
    }

    std::optional<QString> optionalText(QStringView key) {
        const base::Json* found = m_object.find(key);
        if (found == nullptr || found->isNull()) {
            return std::nullopt;
        }
        m_failed = m_failed || !found->isString();
        return found->toString();
    }

    [[nodiscard]] bool failed() const { return m_failed; }

private:
    const base::Json& m_object;
    bool m_failed = false;
};

} // namespace

QString MeetingMeta::timestamp(const QDateTime& date, const QTimeZone& timeZone) {
    return Timestamp::text(date, timeZone);
}

MeetingMeta MeetingMeta::started(const QDateTime& start, bool screenshotsEnabled, const std::optional<QString>& mode,
                                 const QTimeZone& timeZone) {
    return {.start = timestamp(start, timeZone),
            .end = std::nullopt,
            .duration = 0,
            .type = std::nullopt,
            .people = {},
            .note = std::nullopt,
            .screenshotsEnabled = screenshotsEnabled,
            .mode = mode};
}

MeetingMeta MeetingMeta::make(const QDateTime& start, const QDateTime& end, double duration,
                              const std::optional<MeetingAnswers>& answers, bool screenshotsEnabled,
                              const std::optional<QString>& mode, const QTimeZone& timeZone) {
    MeetingMeta meta = started(start, screenshotsEnabled, mode, timeZone);
    meta.end = timestamp(end, timeZone);
    meta.duration = base::Text::roundedToTenth(duration);
    if (answers) {
        meta.type = answers->type;
        meta.people = answers->people;
        const QString note = base::Text::trimmed(answers->note);
        meta.note = note.isEmpty() ? std::nullopt : std::optional(note);
    }
    return meta;
}

std::expected<QByteArray, base::FileError> MeetingMeta::data() const {
    if (!std::isfinite(duration)) {
        return std::unexpected(base::fileError(EDOM));
    }
    base::Json json{base::Json::Object{{u"start"_s, start},
                                       {u"end"_s, base::Json::orNull(end)},
                                       {u"duration"_s, base::Json::number(duration)},
                                       {u"type"_s, base::Json::orNull(type)},
                                       {u"people"_s, base::Json(people)},
                                       {u"note"_s, base::Json::orNull(note)},
                                       {u"screenshotsEnabled"_s, screenshotsEnabled}}};
    if (mode) {
        json.set(u"mode"_s, *mode);
    }
    return base::writeJson(json);
}

std::optional<MeetingMeta> MeetingMeta::decode(QByteArrayView bytes) {
    const auto json = base::parseJson(bytes);
    if (!json || !json->isObject()) {
        return std::nullopt;
    }
    StrictReader reader(*json);
    MeetingMeta meta{.start = reader.required(u"start", &base::Json::toString),
                     .end = reader.optionalText(u"end"),
                     .duration = reader.required(u"duration", &base::Json::toDouble),
                     .type = reader.optionalText(u"type"),
                     .people = reader.required(u"people", &base::Json::toStringList),
                     .note = reader.optionalText(u"note"),
                     .screenshotsEnabled = reader.required(u"screenshotsEnabled", &base::Json::toBool),
                     .mode = reader.optionalText(u"mode")};
    return reader.failed() ? std::nullopt : std::optional(std::move(meta));
}

} // namespace store
