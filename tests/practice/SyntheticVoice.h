// Speech-like sound of known pitch.
#pragma once

#include <cmath>
#include <functional>
#include <numbers>
#include <random>
#include <vector>

namespace voice {

inline constexpr double rate = 16000.0;

/// A harmonic tone whose pitch at each moment (seconds) is `hz(t)`; 0 is silence.
inline std::vector<float> harmonic(double seconds, const std::function<double(double)>& hz, double amplitude = 0.3,
                                   int harmonics = 8) {
    std::vector<float> samples(static_cast<std::size_t>(seconds * rate));
    double phase = 0;
    for (std::size_t n = 0; n < samples.size(); ++n) {
        const double pitch = hz(static_cast<double>(n) / rate);
        phase += pitch / rate;
        double sum = 0;
        for (int h = 1; h <= harmonics && pitch * h < rate / 2; ++h) {
            sum += std::sin(2 * std::numbers::pi * h * phase) / h;
        }
        samples[n] = pitch > 0 ? static_cast<float>(amplitude * sum / 1.6) : 0.0F;
    }
    return samples;
}

inline std::vector<float> tone(double seconds, double hz, double amplitude = 0.3) {
    return harmonic(seconds, [hz](double) { return hz; }, amplitude, 1);
}

inline void addNoise(std::vector<float>& samples, double rms, unsigned seed = 1) {
    std::mt19937 random(seed);
    std::normal_distribution<float> noise(0, static_cast<float>(rms));
    for (float& sample : samples) {
        sample += noise(random);
    }
}

/// Syllables with pauses, a wandering pitch, some noise: what a talk looks like to a tracker. Seeded.
inline std::vector<float> speech(double seconds, unsigned seed = 7) {
    std::vector<float> samples = harmonic(seconds, [](double t) {
        const double within = std::fmod(t, 0.7);
        return within > 0.5 ? 0.0 : 140 * std::exp2((std::sin(t * 0.9) * 3 + std::sin(t * 7.1)) / 12);
    });
    for (std::size_t n = 0; n < samples.size(); ++n) {
        const double t = static_cast<double>(n) / rate;
        samples[n] *= static_cast<float>(0.55 + 0.45 * std::sin(t * 2.3));
    }
    addNoise(samples, 0.003, seed);
    return samples;
}

} // namespace voice
