// The language that the AI answers in. Unlike the interface it is Chinese as soon as Chinese is anywhere among the
// preferred languages: a user with an English system may well hold meetings in Chinese.
//   Threads  any
#pragma once

#include "copy/FixedText.h"

#include <QStringList>

#include <optional>

namespace copy {

class AILanguage {
public:
    enum Value : unsigned char { zh, en };

    constexpr AILanguage(Value value) : m_value(value) {}

    constexpr operator Value() const { return m_value; }

    [[nodiscard]] constexpr FixedText rawValue() const { return m_value == zh ? FixedText(u"zh") : FixedText(u"en"); }

    [[nodiscard]] static AILanguage current();
    /// `preferred` are the user's languages ("zh-Hant-TW"), in any order.
    [[nodiscard]] static AILanguage pick(const QStringList& preferred);

    [[nodiscard]] static std::optional<AILanguage> selfTestForced();
    static void setSelfTestForced(std::optional<AILanguage> language);

private:
    Value m_value;
};

} // namespace copy
