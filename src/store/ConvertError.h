// Why a finished track could not be converted for a reason of its own; everything else is the system's error.
#pragma once

#include <QString>

namespace store {

enum class ConvertError {
    Empty ///< the track never got a frame
};

[[nodiscard]] inline QString convertErrorText(ConvertError error) {
    switch (error) {
    case ConvertError::Empty:
        break;
    }
    return QStringLiteral("no audio in the file");
}

} // namespace store
