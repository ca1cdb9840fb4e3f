// The tracker as it is told, without any haste: one frame after the other, every sum in full. What the quick one is
// compared with.
#pragma once

#include "practice/PitchAnalyzer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <vector>

namespace plain {

namespace rules = practice::PitchAnalyzer;

inline double pitchOf(std::span<const float> x) {
    constexpr int window = 640;
    constexpr int lags = 214;
    std::array<float, lags + 1> correlation{};
    for (int tau = 0; tau <= lags; ++tau) {
        for (int j = 0; j < window; ++j) {
            correlation[tau] += x[j] * x[j + tau];
        }
    }
    std::array<double, window + lags + 1> squares{};
    for (int k = 0; k < window + lags; ++k) {
        squares[k + 1] = squares[k] + static_cast<double>(x[k]) * x[k];
    }
    std::array<double, lags + 1> normalised{};
    normalised[0] = 1;
    double sum = 0;
    for (int tau = 1; tau <= lags; ++tau) {
        double d = squares[window] - squares[0] + (squares[window + tau] - squares[tau]) - 2.0 * correlation[tau];
        d = std::max(d, 0.0);
        sum += d;
        normalised[tau] = sum > 0 ? d * tau / sum : 1;
    }
    for (int tau = 40; tau <= lags; ++tau) {
        if (normalised[tau] < 0.15) {
            while (tau < lags && normalised[tau + 1] < normalised[tau]) {
                ++tau;
            }
            double refined = tau;
            if (tau < lags) {
                const double den = normalised[tau + 1] + normalised[tau - 1] - 2 * normalised[tau];
                if (den > 0) {
                    refined += (normalised[tau - 1] - normalised[tau + 1]) * 0.5 / den;
                }
            }
            const double hz = 16000.0 / refined;
            return hz >= 75 && hz <= 400 ? hz : 0;
        }
    }
    return 0;
}

inline std::vector<rules::Frame> track(std::span<const float> samples) {
    if (samples.size() < 854) {
        return {};
    }
    const std::size_t frames = (samples.size() - 854) / 160 + 1;
    std::vector<float> energies;
    for (std::size_t i = 0; i < frames; ++i) {
        double sum = 0;
        for (std::size_t j = 0; j < 640; ++j) {
            sum += static_cast<double>(samples[i * 160 + j]) * samples[i * 160 + j];
        }
        energies.push_back(static_cast<float>(std::sqrt(sum / 640)));
    }
    std::vector<float> sorted = energies;
    std::ranges::sort(sorted);
    const float loud = sorted[std::min(frames - 1, static_cast<std::size_t>(static_cast<double>(frames - 1) * 0.95))];
    const float gate = std::max(loud * 0.017782794F, 0.002F);
    std::vector<rules::Frame> result;
    for (std::size_t i = 0; i < frames; ++i) {
        rules::Frame frame{(static_cast<double>(i) * 160 + 320) / 16000, std::nullopt};
        if (energies[i] >= gate) {
            if (const double hz = pitchOf(samples.subspan(i * 160, 854)); hz > 0) {
                frame.hz = hz;
            }
        }
        result.push_back(frame);
    }
    return result;
}

} // namespace plain
