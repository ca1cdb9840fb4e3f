// The name by which prompts and summaries call the user: the first word of the account's full name.
//   Threads  any
#pragma once

#include "copy/FixedText.h"

#include <optional>

namespace copy::UserName {

inline constexpr FixedText fallback = u"使用者";

[[nodiscard]] QString current();
/// The first piece of `fullName` between white space; `fallback` if there is none.
[[nodiscard]] QString first(QStringView fullName);

/// Only a self-test run can force a name: outside test mode a forced one is ignored.
[[nodiscard]] std::optional<QString> selfTestForced();
void setSelfTestForced(std::optional<QString> name);

} // namespace copy::UserName
