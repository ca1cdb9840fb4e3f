// What a finished recording hands over.
#pragma once

#include <QDateTime>

#include <cstdint>
#include <filesystem>
#include <optional>

namespace store {

struct StoppedSession {
    std::filesystem::path folder; ///< still under its name from the start
    QDateTime start;
    QDateTime end;
    double duration = 0; ///< seconds
    bool screenshotsEnabled = false;
    double micSeconds = 0;
    std::optional<double> systemSeconds; ///< empty: no system track
    std::int64_t shots = 0;
    bool practice = false; ///< the one field that may be changed afterwards
    bool operator==(const StoppedSession&) const = default;
};

} // namespace store
