// Why a recording did not start.
#pragma once

#include "capture/CaptureError.h"

#include <QString>

#include <variant>

namespace entry {

/// The folder of the recording can't be made.
struct SessionError {
    QString reason; ///< the platform's text
    [[nodiscard]] QString text() const;
    bool operator==(const SessionError&) const = default;
};

/// A track's file can't be opened.
struct TrackError {
    QString reason; ///< the text that the user reads

    [[nodiscard]] QString text() const { return reason; }

    bool operator==(const TrackError&) const = default;
};

using StartError = std::variant<SessionError, TrackError, capture::CaptureError>;

/// The text that the user reads.
[[nodiscard]] QString text(const StartError& error);

} // namespace entry
