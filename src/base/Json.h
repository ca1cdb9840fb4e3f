// JSON as a value that keeps what it did not understand: the order of keys, and every number letter for letter.
//   Reading  strict JSON in UTF-8 (a byte-order mark is allowed); at most `maxDepth` levels; of equal keys the last
//            one counts for find(), and all of them are kept
//   Writing  one stable form: two blanks per level, " : " between key and value, slashes as they are, UTF-8
//   Threads  any; plain values
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <expected>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace base {

/// A number as it is written in JSON.
struct JsonNumber {
    QByteArray text;
    bool operator==(const JsonNumber&) const = default;
};

class Json {
public:
    using Array = std::vector<Json>;
    using Member = std::pair<QString, Json>;
    using Object = std::vector<Member>; ///< in the order of the file
    using Value = std::variant<std::nullptr_t, bool, JsonNumber, QString, Array, Object>;

    static constexpr int maxDepth = 512;

    Json() = default; ///< null

    Json(std::nullptr_t) {}

    Json(bool value) : m_value(value) {}

    Json(QString value) : m_value(std::move(value)) {}

    Json(const char*) = delete; ///< would become a bool

    Json(Array value) : m_value(std::move(value)) {}

    Json(Object value) : m_value(std::move(value)) {}

    Json(JsonNumber value) : m_value(std::move(value)) {}

    explicit Json(const QStringList& texts);
    static Json integer(std::int64_t value);
    /// The shortest text that reads back as the same double; a value that is not finite becomes null.
    static Json number(double value);
    /// The number's "%.1f" text; a value that is not finite becomes null.
    static Json oneDecimal(double value);
    static Json orNull(const std::optional<QString>& text);

    [[nodiscard]] bool isNull() const { return std::holds_alternative<std::nullptr_t>(m_value); }

    [[nodiscard]] bool isObject() const { return std::holds_alternative<Object>(m_value); }

    [[nodiscard]] bool isArray() const { return std::holds_alternative<Array>(m_value); }

    [[nodiscard]] bool isString() const { return std::holds_alternative<QString>(m_value); }

    [[nodiscard]] bool isNumber() const { return std::holds_alternative<JsonNumber>(m_value); }

    [[nodiscard]] bool isBool() const { return std::holds_alternative<bool>(m_value); }

    /// Typed views: empty when the value is of another type.
    [[nodiscard]] std::optional<bool> toBool() const;
    [[nodiscard]] std::optional<double> toDouble() const;        ///< finite ones only
    [[nodiscard]] std::optional<std::int64_t> toInteger() const; ///< whole numbers within 64 bits, "3.0" and "3e2" too
    [[nodiscard]] std::optional<QString> toString() const;

    [[nodiscard]] const Array* toArray() const { return std::get_if<Array>(&m_value); }

    [[nodiscard]] Array* toArray() { return std::get_if<Array>(&m_value); }

    [[nodiscard]] const Object* toObject() const { return std::get_if<Object>(&m_value); }

    [[nodiscard]] Object* toObject() { return std::get_if<Object>(&m_value); }

    /// An array whose every element is a string; nullopt otherwise.
    [[nodiscard]] std::optional<QStringList> toStringList() const;

    /// The member of an object; nullptr when there is none or this is no object.
    [[nodiscard]] const Json* find(QStringView key) const;
    /// Sets a member of an object (which null becomes): replaces it in its place, removing equal keys, else appends it.
    void set(const QString& key, Json value);
    void remove(QStringView key);

    [[nodiscard]] const Value& value() const { return m_value; }

    bool operator==(const Json&) const = default;

private:
    Value m_value = nullptr;
};

struct JsonError {
    QString text; ///< in English, for logs
    bool operator==(const JsonError&) const = default;
};

[[nodiscard]] std::expected<Json, JsonError> parseJson(QByteArrayView bytes);

/// Visits, in their order, the texts at `member` of the objects in the array at `array`: what parseJson and find give,
/// without making values of all the rest. UTF-8; valid during the call. False, and nothing visited, if the bytes are no
/// object with such an array.
[[nodiscard]] bool visitTexts(QByteArrayView bytes, std::string_view array, std::string_view member,
                              const std::function<void(std::string_view text)>& visit);

enum class KeyOrder { Sorted, AsGiven };
/// Ends without a line end, as the files always have.
[[nodiscard]] QByteArray writeJson(const Json& value, KeyOrder order = KeyOrder::Sorted);
/// On one line and without blanks, for command lines.
[[nodiscard]] QByteArray writeCompactJson(const Json& value, KeyOrder order = KeyOrder::Sorted);

} // namespace base
