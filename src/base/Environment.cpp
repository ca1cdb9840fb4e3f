#include "base/Environment.h"

#include <QByteArray>

#include <cmath>
#include <cstdlib>

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
    // Qt sets LC_NUMERIC to "C" for the whole process, so the decimal point is a point here.
    const double value = std::strtod(bytes.constData(), &end);
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
