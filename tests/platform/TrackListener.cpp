#include "platform/TrackListener.h"

#include "capture/AudioTrackWriter.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>

namespace platform::linux_desktop::TrackListener {

namespace {

constexpr std::size_t headerBytes = 68;
constexpr int audible = 6000; // of 32768; a click is 24000 loud, and resampling smears its first frames
// Two sounds nearer than this are one click.
constexpr double quietSeconds = 0.1;

} // namespace

double Offsets::median() const {
    if (seconds.empty()) {
        return 0;
    }
    auto sorted = seconds;
    std::ranges::sort(sorted);
    return sorted[sorted.size() / 2];
}

double Offsets::worst() const {
    double worst = 0;
    for (const double offset : seconds) {
        if (std::abs(offset) > std::abs(worst)) {
            worst = offset;
        }
    }
    return worst;
}

std::vector<double> clicksIn(const std::filesystem::path& track) {
    std::ifstream file(track, std::ios::binary);
    const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
    std::vector<double> clicks;
    const auto quiet = static_cast<std::size_t>(quietSeconds * capture::AudioTrackWriter::sampleRate);
    std::size_t lastLoud = 0;
    bool any = false;
    for (std::size_t frame = 0; headerBytes + 2 * frame + 1 < bytes.size(); ++frame) {
        std::int16_t sample = 0;
        std::memcpy(&sample, bytes.data() + headerBytes + 2 * frame, sizeof sample);
        if (std::abs(sample) < audible) {
            continue;
        }
        if (!any || frame - lastLoud > quiet) {
            clicks.push_back(static_cast<double>(frame) / capture::AudioTrackWriter::sampleRate);
        }
        any = true;
        lastLoud = frame;
    }
    return clicks;
}

Offsets compare(const std::vector<double>& found, const Clicks& clicks, double start, double from, double until) {
    Offsets offsets;
    for (const double moment : clicks.moments) {
        if (moment < from || moment > until) {
            continue;
        }
        ++offsets.expected;
        const double place = moment - start;
        const auto nearest =
            std::ranges::min_element(found, {}, [place](double click) { return std::abs(click - place); });
        if (nearest != found.end() && std::abs(*nearest - place) < clicks.beatSeconds / 2) {
            offsets.seconds.push_back(*nearest - place);
        }
    }
    return offsets;
}

} // namespace platform::linux_desktop::TrackListener
