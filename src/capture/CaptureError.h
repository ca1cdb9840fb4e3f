// Why a microphone could not be opened. The text is the one that the user reads.
#pragma once

#include <QString>

namespace capture {

struct CaptureError {
    enum class Kind { CannotUse, NoMicrophone, Timeout };
    Kind kind = Kind::CannotUse;
    QString reason; ///< of CannotUse: the platform's text, or the device's name
    [[nodiscard]] QString text() const;
    bool operator==(const CaptureError&) const = default;
};

} // namespace capture
