// The outcome of reading one file: there and understood, not there, or there and not understood.
//   Threads  any; a plain value
#pragma once

#include <optional>
#include <utility>

namespace store {

template<typename Value>
class ContentState {
public:
    enum class Kind { None, Ready, Broken };

    [[nodiscard]] static ContentState none() { return ContentState(Kind::None, std::nullopt); }

    [[nodiscard]] static ContentState broken() { return ContentState(Kind::Broken, std::nullopt); }

    [[nodiscard]] static ContentState ready(Value value) { return ContentState(Kind::Ready, std::move(value)); }

    [[nodiscard]] Kind kind() const { return m_kind; }

    [[nodiscard]] bool isNone() const { return m_kind == Kind::None; }

    [[nodiscard]] bool isReady() const { return m_kind == Kind::Ready; }

    [[nodiscard]] bool isBroken() const { return m_kind == Kind::Broken; }

    /// The record of a file that is ready; nullptr in the other two cases.
    [[nodiscard]] const Value* value() const { return m_value ? &*m_value : nullptr; }

    bool operator==(const ContentState&) const = default;

private:
    ContentState(Kind kind, std::optional<Value> value) : m_kind(kind), m_value(std::move(value)) {}

    Kind m_kind;
    std::optional<Value> m_value;
};

} // namespace store
