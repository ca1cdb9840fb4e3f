// What the program was asked for when it was started.
//   Threads  any; no state                     Errors  none: what is not known is left alone
#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

#include <optional>

namespace entry {

struct CommandLine {
    /// Length of the self-test's recording when none is given, or none that is a number. Seconds.
    static constexpr double defaultAutoTestSeconds = 20.0;

    static constexpr QStringView autoTestFlag = u"--auto-test";
    static constexpr QStringView windowTestFlag = u"--window-test";
    static constexpr QStringView practiceFlag = u"--practice";
    static constexpr QStringView discardFlag = u"--discard";

    std::optional<double> autoTestSeconds;   ///< nullopt: no such self-test
    std::optional<QSet<QString>> windowTest; ///< its words; nullopt: no such self-test
    bool autoTestPractice = false;
    bool autoTestKeep = true;

    /// `arguments` are those behind the program's name.
    [[nodiscard]] static CommandLine parse(const QStringList& arguments);
    /// Self-tests must never touch the user's own data: what standard error says, with its line end, when one is asked
    /// for outside test mode. The program then ends with the status `refused`.
    [[nodiscard]] static std::optional<QString> refusal(const QStringList& arguments, bool testMode);
    static constexpr int refused = 2;

    bool operator==(const CommandLine&) const = default;
};

} // namespace entry
