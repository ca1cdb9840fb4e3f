#include "store/MeetingMeta.h"

#include "base/Json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;
using namespace store;

namespace {

const QTimeZone taipei("Asia/Taipei");
const QDateTime start(QDate(2025, 3, 7), QTime(1, 30, 12), Qt::UTC);

MeetingMeta made(double duration, const std::optional<MeetingAnswers>& answers = std::nullopt) {
    return MeetingMeta::make(start, start.addSecs(3600), duration, answers, true, std::nullopt, taipei);
}

QStringList keys(const QByteArray& bytes) {
    QStringList found;
    const auto json = base::parseJson(bytes).value();
    for (const auto& [key, value] : *json.toObject()) {
        found.append(key);
    }
    return found;
}

const QByteArray whole = R"({"start": "2025-03-07T09:30:12+08:00", "end": null, "duration": 1.5, "type": null,
    "people": ["Ann"], "note": null, "screenshotsEnabled": true})";

QByteArray without(const QString& key) {
    auto json = base::parseJson(whole).value();
    json.remove(key);
    return base::writeJson(json);
}

QByteArray with(const QString& key, base::Json value) {
    auto json = base::parseJson(whole).value();
    json.set(key, std::move(value));
    return base::writeJson(json);
}

TEST(MeetingMetaTest, ATimestampHasTheZonesOffset) {
    EXPECT_EQ(MeetingMeta::timestamp(start, taipei), u"2025-03-07T09:30:12+08:00"_s);
}

TEST(MeetingMetaTest, TheFileIsPrettyWithSortedKeysAndPlainSlashes) {
    MeetingMeta meta = made(12.34, MeetingAnswers{u"週會"_s, {u"Ann"_s, u"Bob/Eve"_s}, u" 一句話 "_s});
    meta.mode = MeetingMeta::practiceMode;
    EXPECT_EQ(meta.data().value(), QByteArray(R"({
  "duration" : 12.3,
  "end" : "2025-03-07T10:30:12+08:00",
  "mode" : "practice",
  "note" : "一句話",
  "people" : [
    "Ann",
    "Bob/Eve"
  ],
  "screenshotsEnabled" : true,
  "start" : "2025-03-07T09:30:12+08:00",
  "type" : "週會"
})"));
}

TEST(MeetingMetaTest, AStartedRecordComesBackWithTheSameKeys) {
    const auto meta = MeetingMeta::started(start, false, std::nullopt, taipei);
    const QByteArray bytes = meta.data().value();
    EXPECT_TRUE(bytes.contains("\"end\" : null"));
    EXPECT_EQ(keys(bytes), (QStringList{u"duration"_s, u"end"_s, u"note"_s, u"people"_s, u"screenshotsEnabled"_s,
                                        u"start"_s, u"type"_s}));
    const auto decoded = MeetingMeta::decode(bytes);
    ASSERT_EQ(decoded, meta);
    EXPECT_EQ(decoded->data(), bytes);
}

TEST(MeetingMetaTest, AStartedPracticeHasItsMode) {
    const auto meta = MeetingMeta::started(start, false, MeetingMeta::practiceMode, taipei);
    EXPECT_TRUE(meta.data().value().contains("\"mode\" : \"practice\""));
    EXPECT_EQ(MeetingMeta::decode(meta.data().value()), meta);
}

TEST(MeetingMetaTest, TheDurationIsStoredToATenth) {
    EXPECT_EQ(made(12.34).duration, 12.3);
    EXPECT_EQ(made(12.35).duration, 12.4);
    EXPECT_EQ(made(0.04).duration, 0.0);
    EXPECT_EQ(made(0.05).duration, 0.1);
    EXPECT_EQ(made(-0.05).duration, -0.1);
    EXPECT_TRUE(made(63.2).data().value().contains("\"duration\" : 63.2,"));
    EXPECT_TRUE(made(0.04).data().value().contains("\"duration\" : 0,"));
}

TEST(MeetingMetaTest, ADurationThatIsNoNumberIsAnError) {
    EXPECT_FALSE(made(std::nan("")).data());
    const auto infinite = made(std::numeric_limits<double>::infinity()).data();
    ASSERT_FALSE(infinite);
    EXPECT_FALSE(infinite.error().text.isEmpty());
}

TEST(MeetingMetaTest, WithoutAnswersTypePeopleAndNoteAreEmpty) {
    const auto meta = made(1);
    EXPECT_EQ(meta.type, std::nullopt);
    EXPECT_EQ(meta.people, QStringList());
    EXPECT_EQ(meta.note, std::nullopt);
    EXPECT_EQ(meta.end, u"2025-03-07T10:30:12+08:00"_s);
}

TEST(MeetingMetaTest, ANoteOfOnlyBlanksIsNull) {
    const auto meta = made(1, MeetingAnswers{std::nullopt, {}, u" \t\n\u3000"_s});
    EXPECT_EQ(meta.note, std::nullopt);
    EXPECT_TRUE(meta.data().value().contains("\"note\" : null"));
}

TEST(MeetingMetaTest, TypeAndPeopleAreTakenAsGiven) {
    const auto meta = made(1, MeetingAnswers{u" 週會 "_s, {u"Bob"_s, u" Ann "_s, u"Bob"_s}, u""_s});
    EXPECT_EQ(meta.type, u" 週會 "_s);
    EXPECT_EQ(meta.people, (QStringList{u"Bob"_s, u" Ann "_s, u"Bob"_s}));
}

TEST(MeetingMetaTest, TheStrictReaderAsksForFourKeys) {
    ASSERT_TRUE(MeetingMeta::decode(whole));
    for (const QString& key : {u"start"_s, u"duration"_s, u"people"_s, u"screenshotsEnabled"_s}) {
        EXPECT_EQ(MeetingMeta::decode(without(key)), std::nullopt) << key.toStdString();
        EXPECT_EQ(MeetingMeta::decode(with(key, nullptr)), std::nullopt) << key.toStdString();
    }
}

TEST(MeetingMetaTest, TheStrictReaderTakesAMissingKeyForTheOtherFour) {
    const auto meta = MeetingMeta::decode(whole);
    for (const QString& key : {u"end"_s, u"type"_s, u"note"_s, u"mode"_s}) {
        EXPECT_EQ(MeetingMeta::decode(without(key)), meta) << key.toStdString();
        EXPECT_EQ(MeetingMeta::decode(with(key, nullptr)), meta) << key.toStdString();
    }
}

TEST(MeetingMetaTest, TheStrictReaderRefusesEveryWrongType) {
    const std::vector<base::Json> values{true,
                                         base::Json::integer(7),
                                         u"text"_s,
                                         base::Json::Object{},
                                         base::Json::Array{base::Json::integer(1)},
                                         base::Json::Array{u"text"_s}};
    for (const QString& key :
         {u"start"_s, u"end"_s, u"duration"_s, u"type"_s, u"people"_s, u"note"_s, u"screenshotsEnabled"_s, u"mode"_s}) {
        int accepted = 0;
        for (const auto& value : values) {
            accepted += MeetingMeta::decode(with(key, value)) ? 1 : 0;
        }
        EXPECT_EQ(accepted, 1) << key.toStdString(); // its own type alone
    }
}

TEST(MeetingMetaTest, ANumberBeyondADoubleIsNoDuration) {
    EXPECT_EQ(MeetingMeta::decode(with(u"duration"_s, base::JsonNumber{"1e999"})), std::nullopt);
}

TEST(MeetingMetaTest, UnknownKeysAreIgnored) {
    EXPECT_EQ(MeetingMeta::decode(with(u"later"_s, u"version"_s)), MeetingMeta::decode(whole));
}

TEST(MeetingMetaTest, OfEqualKeysTheLastCounts) {
    const auto twice = MeetingMeta::decode(R"({"start": 7, "duration": 1, "people": [], "screenshotsEnabled": true,
        "start": "second"})");
    ASSERT_TRUE(twice);
    EXPECT_EQ(twice->start, u"second"_s);
}

TEST(MeetingMetaTest, WhatIsNoObjectIsNoRecord) {
    for (const char* bytes : {"", "[]", "null", "7", "\"text\"", "{", "{}", "\xFF\xFE", "{} {}"}) {
        EXPECT_EQ(MeetingMeta::decode(bytes), std::nullopt) << bytes;
    }
}

TEST(MeetingMetaTest, ARecordCutAtAnyByteIsNoRecord) {
    for (qsizetype length = 0; length < whole.size(); ++length) {
        EXPECT_EQ(MeetingMeta::decode(whole.first(length)), std::nullopt) << length;
    }
}

TEST(MeetingMetaTest, AByteOrderMarkIsNoMatter) {
    EXPECT_EQ(MeetingMeta::decode(QByteArray("\xEF\xBB\xBF" + whole)), MeetingMeta::decode(whole));
}

} // namespace
