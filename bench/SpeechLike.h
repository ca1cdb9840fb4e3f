// Sound that costs a codec what speech costs it: voiced syllables with pauses, breath noise below it all.
#pragma once

#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <vector>

namespace bench {

/// Seeded: the same every time.
inline std::vector<std::int16_t> speechLike(double seconds, double sampleRate, unsigned seed) {
    std::mt19937 random(seed);
    std::normal_distribution<double> noise(0.0, 60.0);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::vector<std::int16_t> samples(static_cast<std::size_t>(seconds * sampleRate));
    double phase = 0;
    double pitch = 120;
    double loudness = 0;
    double target = 0;
    for (std::size_t frame = 0; frame < samples.size(); ++frame) {
        if (frame % static_cast<std::size_t>(sampleRate / 6) == 0) { // six syllables a second, a third of them pauses
            target = unit(random) < 0.33 ? 0.0 : 2000.0 + 5000.0 * unit(random);
            pitch = 95 + 70 * unit(random);
        }
        loudness += (target - loudness) * 0.002;
        phase += 2 * std::numbers::pi * pitch / sampleRate;
        double voice = 0;
        for (int harmonic = 1; harmonic <= 12; ++harmonic) {
            voice += std::sin(phase * harmonic) / harmonic;
        }
        samples[frame] = static_cast<std::int16_t>(std::lround(loudness * voice * 0.5 + noise(random)));
    }
    return samples;
}

} // namespace bench
