#include "base/Json.h"

#include "base/Text.h"

#include <simdjson.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>
#include <utility>

namespace base {

using namespace Qt::StringLiterals;

namespace {

namespace ondemand = simdjson::ondemand;

constexpr std::size_t usualMembers = 8;

struct TooDeep {};

QByteArray trimmedToken(std::string_view token) {
    while (!token.empty() && std::strchr(" \t\r\n", token.back()) != nullptr) {
        token.remove_suffix(1);
    }
    return QByteArray(token.data(), static_cast<qsizetype>(token.size()));
}

/// RFC 8259's number, checked by ourselves because the parser does so only when it converts.
bool isNumber(const QByteArray& text) {
    const char* at = text.constData();
    const auto digits = [&at] {
        const char* first = at;
        while (*at >= '0' && *at <= '9') {
            ++at;
        }
        return at - first;
    };
    at += *at == '-' ? 1 : 0;
    const bool leadingZero = *at == '0';
    const auto whole = digits();
    if (whole < 1 || (leadingZero && whole > 1)) {
        return false;
    }
    if (*at == '.') {
        ++at;
        if (digits() < 1) {
            return false;
        }
    }
    if (*at == 'e' || *at == 'E') {
        ++at;
        at += *at == '+' || *at == '-' ? 1 : 0;
        if (digits() < 1) {
            return false;
        }
    }
    return at == text.constData() + text.size();
}

QString text(std::string_view utf8) {
    QString result = QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
    // Qt takes a byte-order mark off the front; within a text it is a character like any other.
    if (utf8.starts_with("\xEF\xBB\xBF")) {
        result.prepend(QChar::ByteOrderMark);
    }
    return result;
}

Json read(ondemand::value value, int depth) {
    if (depth > Json::maxDepth) {
        throw TooDeep{};
    }
    switch (value.type().value()) {
    case ondemand::json_type::object: {
        Json::Object members;
        members.reserve(usualMembers); // growing from one on would move the first ones again and again
        for (auto field : value.get_object()) {
            QString key = text(field.unescaped_key().value());
            members.emplace_back(std::move(key), read(field.value().value(), depth + 1));
        }
        return members;
    }
    case ondemand::json_type::array: {
        Json::Array elements;
        elements.reserve(usualMembers);
        for (auto element : value.get_array()) {
            elements.push_back(read(element.value(), depth + 1));
        }
        return elements;
    }
    case ondemand::json_type::string:
        return text(value.get_string().value());
    case ondemand::json_type::boolean:
        return value.get_bool().value();
    case ondemand::json_type::number: {
        JsonNumber number{trimmedToken(value.raw_json_token())};
        if (!isNumber(number.text)) {
            throw simdjson::simdjson_error(simdjson::NUMBER_ERROR);
        }
        return number; // left unread, the parser steps over it
    }
    case ondemand::json_type::null:
        if (!value.is_null()) {
            throw simdjson::simdjson_error(simdjson::N_ATOM_ERROR);
        }
        return nullptr;
    }
    throw simdjson::simdjson_error(simdjson::TAPE_ERROR);
}

Json readDocument(QByteArrayView bytes) {
    // In brackets every document is an array of one element: one road for objects and for bare values.
    simdjson::padded_string padded(static_cast<std::size_t>(bytes.size()) + 2);
    padded.data()[0] = '[';
    std::copy(bytes.begin(), bytes.end(), padded.data() + 1);
    padded.data()[padded.size() - 1] = ']';

    static thread_local ondemand::parser parser;
    ondemand::document document = parser.iterate(padded).value();
    Json::Array found;
    for (auto element : document.get_array()) {
        found.push_back(read(element.value(), 1));
    }
    if (found.size() != 1 || document.current_location().error() != simdjson::OUT_OF_BOUNDS) {
        throw simdjson::simdjson_error(simdjson::TRAILING_CONTENT);
    }
    return std::move(found.front());
}

QByteArrayView withoutByteOrderMark(QByteArrayView bytes) {
    constexpr QByteArrayView mark("\xEF\xBB\xBF");
    return bytes.startsWith(mark) ? bytes.sliced(mark.size()) : bytes;
}

namespace dom = simdjson::dom;

/// The member that counts of several with one key: the last.
simdjson::simdjson_result<dom::element> lastMember(const dom::object& object, std::string_view key) {
    simdjson::simdjson_result<dom::element> found(simdjson::NO_SUCH_FIELD);
    for (const auto& [name, value] : object) {
        if (name == key) {
            found = simdjson::simdjson_result<dom::element>(dom::element(value));
        }
    }
    return found;
}

/// A parser that stops at a depth where readDocument has not yet had enough.
dom::parser quickParser() {
    dom::parser parser;
    if (const auto error = parser.allocate(0, Json::maxDepth / 2)) {
        throw simdjson::simdjson_error(error);
    }
    return parser;
}

using VisitText = std::function<void(std::string_view)>;

void visitTextAt(const dom::object& object, std::string_view key, const VisitText& visit) {
    std::string_view text;
    if (lastMember(object, key).get(text) == simdjson::SUCCESS) {
        visit(text);
    }
}

/// visitTexts for what only readDocument takes, such as numbers beyond all ranges.
bool visitTextsOfValues(QByteArrayView bytes, std::string_view array, std::string_view member, const VisitText& visit) {
    const auto root = parseJson(bytes);
    const Json* found = root ? root->find(text(array)) : nullptr;
    const Json::Array* elements = found != nullptr ? found->toArray() : nullptr;
    if (elements == nullptr) {
        return false;
    }
    for (const Json& element : *elements) {
        const Json* value = element.find(text(member));
        if (const auto words = value != nullptr ? value->toString() : std::nullopt) {
            const QByteArray utf8 = words->toUtf8();
            visit({utf8.constData(), static_cast<std::size_t>(utf8.size())});
        }
    }
    return true;
}

void escape(QByteArray& out, QStringView value) {
    out += '"';
    for (const char c : value.toUtf8()) {
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        case '\b':
            out += "\\b";
            break;
        case '\f':
            out += "\\f";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                constexpr const char* digits = "0123456789abcdef";
                out += "\\u00";
                out += digits[static_cast<unsigned char>(c) >> 4];
                out += digits[c & 0xF];
            } else {
                out += c;
            }
        }
    }
    out += '"';
}

enum class Layout { Pretty, Compact };

class Writer {
public:
    Writer(KeyOrder order, Layout layout) : m_order(order), m_layout(layout) {}

    void write(const Json& json) {
        std::visit([this](const auto& value) { writeValue(value); }, json.value());
    }

    [[nodiscard]] QByteArray take() { return std::move(m_out); }

private:
    void writeValue(std::nullptr_t) { m_out += "null"; }

    void writeValue(bool value) { m_out += value ? "true" : "false"; }

    void writeValue(const JsonNumber& number) { m_out += number.text; }

    void writeValue(const QString& value) { escape(m_out, value); }

    void writeValue(const Json::Array& elements) {
        bracket('[', ']', elements, [this](const Json& element) { write(element); });
    }

    void writeValue(const Json::Object& members) {
        std::vector<const Json::Member*> ordered;
        ordered.reserve(members.size());
        for (const Json::Member& member : members) {
            ordered.push_back(&member);
        }
        if (m_order == KeyOrder::Sorted) {
            // Equal keys stay in the order of the file, which is that of their addresses.
            std::ranges::sort(ordered, [](const Json::Member* left, const Json::Member* right) {
                const int difference = left->first.compare(right->first);
                return difference != 0 ? difference < 0 : left < right;
            });
        }
        bracket('{', '}', ordered, [this](const Json::Member* member) {
            escape(m_out, member->first);
            m_out += m_layout == Layout::Pretty ? " : " : ":";
            write(member->second);
        });
    }

    template<typename Items, typename WriteItem>
    void bracket(char open, char close, const Items& items, const WriteItem& writeItem) {
        m_out += open;
        ++m_level;
        bool first = true;
        for (const auto& item : items) {
            if (!std::exchange(first, false)) {
                m_out += ',';
            }
            newLine();
            writeItem(item);
        }
        --m_level;
        if (!first) {
            newLine();
        }
        m_out += close;
    }

    void newLine() {
        if (m_layout == Layout::Pretty) {
            m_out += '\n';
            m_out.append(static_cast<qsizetype>(2) * m_level, ' ');
        }
    }

    KeyOrder m_order;
    Layout m_layout;
    int m_level = 0;
    QByteArray m_out;
};

QByteArray write(const Json& value, KeyOrder order, Layout layout) {
    Writer writer(order, layout);
    writer.write(value);
    return writer.take();
}

} // namespace

Json::Json(const QStringList& texts) : m_value(Array(texts.begin(), texts.end())) {}

Json Json::integer(std::int64_t value) {
    return JsonNumber{QByteArray::number(static_cast<qlonglong>(value))};
}

Json Json::number(double value) {
    if (!std::isfinite(value)) {
        return nullptr;
    }
    std::array<char, 32> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr;
    return JsonNumber{QByteArray(buffer.data(), end - buffer.data())};
}

Json Json::oneDecimal(double value) {
    if (!std::isfinite(value)) {
        return nullptr;
    }
    return JsonNumber{Text::oneDecimal(value).toLatin1()};
}

Json Json::orNull(const std::optional<QString>& text) {
    return text ? Json(*text) : Json();
}

std::optional<bool> Json::toBool() const {
    const auto* value = std::get_if<bool>(&m_value);
    return value != nullptr ? std::optional(*value) : std::nullopt;
}

std::optional<double> Json::toDouble() const {
    const auto* number = std::get_if<JsonNumber>(&m_value);
    if (number == nullptr) {
        return std::nullopt;
    }
    double value = 0;
    const char* end = number->text.constData() + number->text.size();
    const auto result = std::from_chars(number->text.constData(), end, value);
    if (result.ec != std::errc{} || result.ptr != end || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::int64_t> Json::toInteger() const {
    const auto* number = std::get_if<JsonNumber>(&m_value);
    if (number == nullptr) {
        return std::nullopt;
    }
    std::int64_t whole = 0;
    const char* end = number->text.constData() + number->text.size();
    if (const auto result = std::from_chars(number->text.constData(), end, whole);
        result.ec == std::errc{} && result.ptr == end) {
        return whole;
    }
    constexpr double exactlyHeld = 9007199254740992.0; // 2^53: above it a double skips whole numbers
    const auto value = toDouble();
    if (!value || std::trunc(*value) != *value || std::abs(*value) > exactlyHeld) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(*value);
}

std::optional<QString> Json::toString() const {
    const auto* value = std::get_if<QString>(&m_value);
    return value != nullptr ? std::optional(*value) : std::nullopt;
}

std::optional<QStringList> Json::toStringList() const {
    const Array* elements = toArray();
    if (elements == nullptr || !std::ranges::all_of(*elements, &Json::isString)) {
        return std::nullopt;
    }
    QStringList texts;
    for (const Json& element : *elements) {
        texts.append(std::get<QString>(element.m_value));
    }
    return texts;
}

const Json* Json::find(QStringView key) const {
    const Object* members = toObject();
    if (members == nullptr) {
        return nullptr;
    }
    const auto found =
        std::find_if(members->rbegin(), members->rend(), [key](const Member& member) { return member.first == key; });
    return found == members->rend() ? nullptr : &found->second;
}

void Json::set(const QString& key, Json value) {
    if (isNull()) {
        m_value = Object{};
    }
    Object* members = toObject();
    if (members == nullptr) {
        return;
    }
    const auto isKey = [&key](const Member& member) { return member.first == key; };
    const auto first = std::ranges::find_if(*members, isKey);
    if (first == members->end()) {
        members->emplace_back(key, std::move(value));
        return;
    }
    first->second = std::move(value);
    members->erase(std::remove_if(first + 1, members->end(), isKey), members->end());
}

void Json::remove(QStringView key) {
    if (Object* members = toObject()) {
        std::erase_if(*members, [key](const Member& member) { return member.first == key; });
    }
}

std::expected<Json, JsonError> parseJson(QByteArrayView bytes) {
    try {
        return readDocument(withoutByteOrderMark(bytes));
    } catch (const simdjson::simdjson_error& error) {
        return std::unexpected(JsonError{QString::fromUtf8(error.what())});
    } catch (const TooDeep&) {
        return std::unexpected(JsonError{u"nested too deep"_s});
    } catch (const std::bad_alloc&) {
        return std::unexpected(JsonError{u"out of memory"_s});
    }
}

bool visitTexts(QByteArrayView bytes, std::string_view array, std::string_view member,
                const std::function<void(std::string_view text)>& visit) {
    // A parser keeps room for the largest file that it has seen: fine for usual files, and not for huge ones.
    constexpr qsizetype usualSize = 1 << 20;
    dom::array elements;
    dom::parser own;
    try {
        static thread_local dom::parser kept = quickParser();
        if (bytes.size() > usualSize) {
            own = quickParser();
        }
        dom::parser& parser = bytes.size() > usualSize ? own : kept;
        const QByteArrayView plain = withoutByteOrderMark(bytes);
        const auto root = parser.parse(plain.data(), static_cast<std::size_t>(plain.size()));
        elements = lastMember(root.get_object(), array).get_array();
    } catch (const simdjson::simdjson_error&) {
        return visitTextsOfValues(bytes, array, member, visit);
    }
    for (const dom::element element : elements) {
        dom::object object;
        if (element.get(object) == simdjson::SUCCESS) {
            visitTextAt(object, member, visit);
        }
    }
    return true;
}

QByteArray writeJson(const Json& value, KeyOrder order) {
    return write(value, order, Layout::Pretty);
}

QByteArray writeCompactJson(const Json& value, KeyOrder order) {
    return write(value, order, Layout::Compact);
}

} // namespace base
