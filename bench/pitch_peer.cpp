// The pitch tracker as a program, for bench/pitch.py and bench/pitch_accuracy.py.
//   pitch_peer track FILE.wav   16 kHz, one channel, 16 bits: prints "TIME HZ" for each voiced frame
//   pitch_peer quiet FILE.wav             the same work without the printing
//   pitch_peer compare FILE.wav           the quick form beside the told one: frames, and how many differ
//   pitch_peer analyze FILE.m4a           what a practice is measured with, from the file to the numbers
#include "base/Files.h"
#include "base/Json.h"
#include "practice/PitchAnalyzer.h"
#include "practice/PlainPitch.h"
#include "practice/YinTracker.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t wavHeader = 44;

std::vector<float> readWav(const char* path) {
    const auto bytes = base::readFile(path, std::numeric_limits<std::int32_t>::max());
    if (!bytes || static_cast<std::size_t>(bytes->size()) < wavHeader) {
        return {};
    }
    std::vector<float> samples((static_cast<std::size_t>(bytes->size()) - wavHeader) / 2);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        std::int16_t sample = 0;
        std::memcpy(&sample, bytes->constData() + wavHeader + 2 * i, sizeof sample);
        samples[i] = static_cast<float>(sample) / 32768.0F;
    }
    return samples;
}

void print(const std::vector<practice::PitchAnalyzer::Frame>& frames) {
    for (const auto& frame : frames) {
        if (frame.hz) {
            std::printf("%.3f %.4f\n", frame.time, *frame.hz);
        }
    }
}

int compare(const std::vector<float>& samples) {
    const auto quick = practice::PitchAnalyzer::track(samples);
    const auto told = plain::track(samples);
    std::size_t voiced = 0;
    std::size_t otherVoicing = 0;
    std::size_t otherPitch = 0;
    double worst = 0;
    for (std::size_t i = 0; i < told.size(); ++i) {
        voiced += told[i].hz ? 1 : 0;
        if (quick[i].hz.has_value() != told[i].hz.has_value()) {
            ++otherVoicing;
        } else if (told[i].hz) {
            const double error = std::abs(*quick[i].hz / *told[i].hz - 1);
            worst = std::max(worst, error);
            otherPitch += error > 1e-4 ? 1 : 0;
        }
    }
    std::printf("frames %zu voiced %zu other-voicing %zu other-pitch %zu worst %.3g\n", told.size(), voiced,
                otherVoicing, otherPitch, worst);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const std::string_view verb = argc >= 3 ? argv[1] : "";
    if (verb == "analyze") {
        const auto stats = practice::PitchAnalyzer::analyze(argv[2], {});
        std::printf("%s\n", stats ? base::writeCompactJson(stats->json()).constData() : "unreadable");
        return stats ? 0 : 1;
    }
    if (verb != "track" && verb != "quiet" && verb != "compare") {
        return 2;
    }
    const std::vector<float> samples = readWav(argv[2]);
    if (verb == "compare") {
        return compare(samples);
    }
    const auto frames = practice::PitchAnalyzer::track(samples);
    if (verb == "track") {
        print(frames);
    }
    return frames.empty() ? 1 : 0;
}
