#include "entry/CommandLine.h"

#include "base/Environment.h"

#include <array>

namespace entry {

using namespace Qt::StringLiterals;

namespace {

/// The argument behind `flag`, nullopt when the flag or the argument is missing.
std::optional<QString> valueBehind(const QStringList& arguments, QStringView flag) {
    const auto index = arguments.indexOf(flag);
    if (index < 0 || index + 1 >= arguments.size()) {
        return std::nullopt;
    }
    return arguments[index + 1];
}

QSet<QString> words(const std::optional<QString>& list) {
    if (!list || list->startsWith(u"--"_s)) {
        return {};
    }
    const QStringList pieces = list->split(u',', Qt::SkipEmptyParts);
    return {pieces.begin(), pieces.end()};
}

} // namespace

CommandLine CommandLine::parse(const QStringList& arguments) {
    CommandLine line;
    if (arguments.contains(autoTestFlag)) {
        const auto value = valueBehind(arguments, autoTestFlag).and_then([](const QString& text) {
            return base::Environment::parseWholeDouble(text);
        });
        line.autoTestSeconds = value.value_or(defaultAutoTestSeconds);
    }
    if (arguments.contains(windowTestFlag)) {
        line.windowTest = words(valueBehind(arguments, windowTestFlag));
    }
    line.autoTestPractice = arguments.contains(practiceFlag);
    line.autoTestKeep = !arguments.contains(discardFlag);
    return line;
}

std::optional<QString> CommandLine::refusal(const QStringList& arguments, bool testMode) {
    if (testMode) {
        return std::nullopt;
    }
    for (const QStringView flag : {autoTestFlag, windowTestFlag}) {
        if (arguments.contains(flag)) {
            return flag +
                   u" needs TARVEX_HOME (a test folder), so it will not touch the real data. Nothing was started.\n"_s;
        }
    }
    return std::nullopt;
}

} // namespace entry
