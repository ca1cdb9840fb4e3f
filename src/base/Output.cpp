#include "base/Output.h"

#include <QByteArray>

#include <cstdio>

namespace base {

void printLine(QStringView line) {
    QByteArray bytes = line.toUtf8();
    bytes.append('\n');
    // One call writes the whole line under stdio's own lock.
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stdout);
    std::fflush(stdout);
}

} // namespace base
