// What went wrong with a file or with a library, in the words of the system or of the library.
#pragma once

#include <QString>

namespace media {

struct Error {
    QString text;
    bool operator==(const Error&) const = default;
};

} // namespace media
