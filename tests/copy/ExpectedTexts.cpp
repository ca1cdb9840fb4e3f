#include "copy/ExpectedTexts.h"

#include "base/Files.h"

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace expected {

QList<QStringList> rows(const QString& name) {
    QList<QStringList> result;
    for (const auto& line : text(name).split(u'\n', Qt::SkipEmptyParts)) {
        result.append(line.split(u'\t'));
    }
    return result;
}

QString text(const QString& name) {
    const auto content = base::readText(base::fs::path(EXPECTED_TEXTS) / base::pathFrom(name));
    if (!content) {
        throw std::runtime_error("can't read " + name.toStdString());
    }
    return *content;
}

} // namespace expected
