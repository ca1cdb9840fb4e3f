// One frame of a pitch track.
#pragma once

#include <optional>

namespace practice::PitchAnalyzer {

struct Frame {
    double time = 0;          ///< centre of the analysis window, seconds
    std::optional<double> hz; ///< nullopt: unvoiced
    bool operator==(const Frame&) const = default;
};

} // namespace practice::PitchAnalyzer
