#include "base/Environment.h"

#include <QByteArray>

#include <array>
#include <cctype>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace base::Environment {

using namespace Qt::StringLiterals;

bool testMode() {
    const char* home = std::getenv("TARVEX_HOME");
    return home != nullptr && *home != '\0';
}

std::optional<QString> variable(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr) {
        return std::nullopt;
    }
    return QString::fromLocal8Bit(value);
}

std::optional<std::filesystem::path> path(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') {
        return std::nullopt;
    }
    return std::filesystem::path(value);
}

std::filesystem::path homeFolder() {
    if (auto home = path("HOME"); home && home->is_absolute()) {
        return *home;
    }
    std::array<char, 16 * 1024> texts{};
    passwd entry{};
    passwd* found = nullptr;
    ::getpwuid_r(::getuid(), &entry, texts.data(), texts.size(), &found);
    return found != nullptr && found->pw_dir != nullptr ? found->pw_dir : "/";
}

bool testFlag(const char* name) {
    return testMode() && variable(name) == u"1"_s;
}

std::optional<double> parseWholeDouble(const QString& text) {
    const QByteArray bytes = text.toUtf8();
    // strtod skips blanks before the number; "the whole text" leaves no room for them.
    if (bytes.isEmpty() || std::isspace(static_cast<unsigned char>(bytes.front())) != 0 || bytes.contains('\0')) {
        return std::nullopt;
    }
    char* end = nullptr;
    // Qt takes over the user's locale for the whole process, where the decimal point may be a comma.
    static const locale_t plain = ::newlocale(LC_ALL_MASK, "C", nullptr);
    const double value = ::strtod_l(bytes.constData(), &end, plain);
    if (end != bytes.constData() + bytes.size() || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

double testNumber(const char* name, double normal) {
    if (!testMode()) {
        return normal;
    }
    const auto text = variable(name);
    return text ? parseWholeDouble(*text).value_or(normal) : normal;
}

std::optional<QString> testText(const char* name) {
    if (!testMode()) {
        return std::nullopt;
    }
    auto text = variable(name);
    return text && !text->isEmpty() ? text : std::nullopt;
}

} // namespace base::Environment
