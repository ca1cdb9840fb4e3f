#include "base/Json.h"

#include <gtest/gtest.h>

#include <limits>

using namespace base;
using namespace Qt::StringLiterals;

namespace {

Json parsed(const char* text) {
    const auto json = parseJson(text);
    EXPECT_TRUE(json) << text;
    return json.value_or(Json());
}

TEST(JsonTest, EveryNumberKeepsItsLetters) {
    const char* text = R"({"a":1.10,"b":123456789012345678901234567890,"c":1e999,"d":-0,"e":0.1E+2})";
    EXPECT_EQ(writeCompactJson(parsed(text)), QByteArray(text));
}

TEST(JsonTest, UnknownValuesAndTheirOrderComeBack) {
    const char* text = R"({"z":[1,{"y":null,"x":[true,false,[]]},{}],"a":"b"})";
    EXPECT_EQ(writeCompactJson(parsed(text), KeyOrder::AsGiven), QByteArray(text));
}

TEST(JsonTest, PrettyFormHasTwoBlanksPlainSlashesAndSortedKeys) {
    EXPECT_EQ(writeJson(parsed(R"({"b":"a\/b","a":[1,2],"c":{},"d":[]})")), QByteArray(R"({
  "a" : [
    1,
    2
  ],
  "b" : "a/b",
  "c" : {},
  "d" : []
})"));
}

TEST(JsonTest, TextIsEscapedWhereItMustBeAndNowhereElse) {
    const QString text = u"\"\\\n\r\t\b\f\u0001\u001F/\u007F會議😀"_s;
    const QByteArray written = writeCompactJson(Json(text));
    EXPECT_EQ(written, QByteArray("\"\\\"\\\\\\n\\r\\t\\b\\f\\u0001\\u001f/\x7F會議😀\""));
    EXPECT_EQ(parseJson(written).value().toString(), text);
}

TEST(JsonTest, OfEqualKeysTheLastCountsAndAllAreKept) {
    Json json = parsed(R"({"a":1,"b":2,"a":3})");
    EXPECT_EQ(json.find(u"a")->toInteger(), 3);
    EXPECT_EQ(writeCompactJson(json, KeyOrder::AsGiven), QByteArray(R"({"a":1,"b":2,"a":3})"));
    json.set(u"a"_s, Json::integer(4));
    EXPECT_EQ(writeCompactJson(json, KeyOrder::AsGiven), QByteArray(R"({"a":4,"b":2})"));
}

TEST(JsonTest, RefusesWhatIsNoJson) {
    for (const char* text :
         {"",      " ",   "{",    "}",   "[1",   "[1,]",    "{\"a\":}",  "{\"a\" 1}", "{\"a\":1,}", "nul",    "tru",
          "truex", "01",  "1.",   ".5",  "+1",   "1e",      "--1",       "0x1",       "NaN",        "'a'",    "\"a",
          "1 2",   "1,2", "{}{}", "[]]", "[] x", "\"\\x\"", "\"\\u12\"", "\"\t\"",    "{1:2}",      "// x\n1"}) {
        EXPECT_FALSE(parseJson(text)) << text;
    }
}

TEST(JsonTest, RefusesBytesThatAreNoUtf8) {
    EXPECT_FALSE(parseJson("\"\xFF\""));
    EXPECT_FALSE(parseJson("\"\xC3\""));
    EXPECT_FALSE(parseJson(QByteArray("{\0}", 3)));
}

TEST(JsonTest, TakesBareValuesAndAByteOrderMark) {
    EXPECT_EQ(parsed("7").toInteger(), 7);
    EXPECT_EQ(parsed(" \"a\" ").toString(), u"a"_s);
    EXPECT_TRUE(parsed("null").isNull());
    EXPECT_TRUE(parsed("\xEF\xBB\xBF{}").isObject());
}

TEST(JsonTest, DepthIsTakenUpToTheLimitAndNoFurther) {
    const auto nested = [](int depth) -> QByteArray { return QByteArray(depth, '[') + QByteArray(depth, ']'); };
    EXPECT_TRUE(parseJson(nested(Json::maxDepth)));
    EXPECT_FALSE(parseJson(nested(Json::maxDepth + 1)));
    EXPECT_FALSE(parseJson(nested(100'000)));
    EXPECT_FALSE(parseJson(QByteArray(100'000, '[')));
}

TEST(JsonTest, TypedViewsAreEmptyForOtherTypes) {
    const Json text(u"1"_s);
    EXPECT_EQ(text.toDouble(), std::nullopt);
    EXPECT_EQ(text.toBool(), std::nullopt);
    EXPECT_EQ(Json(true).toDouble(), std::nullopt);
    EXPECT_EQ(parsed("1").toBool(), std::nullopt);
    EXPECT_EQ(parsed("[\"a\",1]").toStringList(), std::nullopt);
    EXPECT_EQ(parsed("[\"a\",\"b\"]").toStringList(), QStringList({u"a"_s, u"b"_s}));
    EXPECT_EQ(parsed("[]").find(u"a"), nullptr);
}

TEST(JsonTest, IntegersAreWholeAndWithinSixtyFourBits) {
    EXPECT_EQ(parsed("9223372036854775807").toInteger(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(parsed("9223372036854775808").toInteger(), std::nullopt);
    EXPECT_EQ(parsed("3.0").toInteger(), 3);
    EXPECT_EQ(parsed("3e2").toInteger(), 300);
    EXPECT_EQ(parsed("3.5").toInteger(), std::nullopt);
    EXPECT_EQ(parsed("1e300").toInteger(), std::nullopt);
}

TEST(JsonTest, DoublesThatDoNotFitAreNoDoubles) {
    EXPECT_EQ(parsed("1e999").toDouble(), std::nullopt);
    EXPECT_EQ(parsed("-1.5e3").toDouble(), -1500.0);
}

TEST(JsonTest, NumbersAreWrittenSoThatTheyReadBackTheSame) {
    for (const double value : {0.1, 1.0 / 3, 1e300, -2.5, 5e-324, 123456789.0}) {
        EXPECT_EQ(parseJson(writeCompactJson(Json::number(value))).value().toDouble(), value);
    }
    EXPECT_TRUE(Json::number(std::numeric_limits<double>::infinity()).isNull());
    EXPECT_EQ(writeCompactJson(Json::oneDecimal(12.0)), "12.0");
    EXPECT_EQ(writeCompactJson(Json::oneDecimal(-0.01)), "0.0");
}

TEST(Json, AByteOrderMarkWithinATextStaysThere) {
    const QByteArray bytes = "{\"\xEF\xBB\xBFkey\":\"\xEF\xBB\xBF\xEF\xBB\xBF"
                             "a\"}";
    const auto json = base::parseJson(bytes);
    ASSERT_TRUE(json);
    EXPECT_EQ(json->find(u"\uFEFFkey")->toString(), u"\uFEFF\uFEFFa"_s);
    EXPECT_EQ(base::writeCompactJson(*json), bytes);
}

// --- Texts alone

/// What visitTexts finds, and what parseJson and find give; nullopt where there is no such array.
std::optional<QByteArrayList> visited(const QByteArray& bytes) {
    QByteArrayList texts;
    const bool isThere = base::visitTexts(bytes, "list", "text", [&](std::string_view text) {
        texts.append(QByteArray(text.data(), static_cast<qsizetype>(text.size())));
    });
    return isThere ? std::optional(texts) : std::nullopt;
}

std::optional<QByteArrayList> found(const QByteArray& bytes) {
    const auto root = base::parseJson(bytes);
    const Json* list = root ? root->find(u"list") : nullptr;
    if (list == nullptr || !list->isArray()) {
        return std::nullopt;
    }
    QByteArrayList texts;
    for (const Json& element : *list->toArray()) {
        const Json* text = element.find(u"text");
        if (text != nullptr && text->isString()) {
            texts.append(text->toString()->toUtf8());
        }
    }
    return texts;
}

TEST(JsonVisitTest, TextsOfObjectsInTheArrayAreVisitedInTheirOrder) {
    const char* bytes = R"({"a": 1, "list": [{"text": "one", "x": {"text": "no"}}, "two", {"text": 3}, [], null,
                            {"text": "\u00e9\"\n"}], "text": "no"})";
    EXPECT_EQ(visited(bytes), (QByteArrayList{"one", "é\"\n"}));
}

TEST(JsonVisitTest, OfEqualKeysTheLastCounts) {
    EXPECT_EQ(visited(R"({"list": [{"text": "a"}], "list": [{"text": "b", "text": "c"}]})"), QByteArrayList{"c"});
    EXPECT_EQ(visited(R"({"list": [{"text": "a", "text": 1}]})"), QByteArrayList{});
    EXPECT_EQ(visited(R"({"list": [], "list": {}})"), std::nullopt);
}

TEST(JsonVisitTest, TakesAndRefusesWhatParsingDoes) {
    const QByteArray deep = QByteArray(400, '[') + QByteArray(400, ']');
    const QByteArray tooDeep = QByteArray(600, '[') + QByteArray(600, ']');
    const QByteArrayList files{"",
                               "{",
                               "[]",
                               "null",
                               "{}",
                               R"({"list": {}})",
                               R"({"list": [)",
                               R"({"list": [{"text": "a"}]})",
                               "\xEF\xBB\xBF{\"list\": [{\"text\": \"\xEF\xBB\xBF\"}]}",
                               R"({"list": [{"text": "a"}]} x)",
                               R"({"list": [{"text": "a"}], "n": 1e999})",
                               R"({"list": [{"text": "a"}], "n": 123456789012345678901234567890})",
                               R"({"list": [{"text": "a"}], "n": 01})",
                               R"({"list": [{"text": "a"}], "n": nul})",
                               R"({"list": [{"text": "\ud83d"}]})",
                               "{\"list\": [{\"text\": \"\xFF\"}]}",
                               "{\"list\": [{\"text\": \"\n\"}]}",
                               "{\"list\": [{\"text\": \"a\"}], \"n\": " + deep + "}",
                               "{\"list\": [{\"text\": \"a\"}], \"n\": " + tooDeep + "}"};
    for (const QByteArray& bytes : files) {
        EXPECT_EQ(visited(bytes), found(bytes)) << bytes.left(80).constData();
    }
}

} // namespace
