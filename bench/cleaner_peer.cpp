// The cleaner as a program, for bench/cleaner.py: reads two files as the transcription tool writes them, prints how
// long cleaning took, what was kept, and the likeness of pairs of neighbours to the last bit.
//   cleaner_peer MIC.json SYSTEM.json DURATION ROUNDS
#include "ai/TranscriptCleaner.h"
#include "base/Files.h"
#include "base/HostClock.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace {

ai::WhisperOutput read(const char* path) {
    const auto bytes = base::readFile(path);
    return bytes ? ai::WhisperOutput::parse(*bytes).value_or(ai::WhisperOutput()) : ai::WhisperOutput();
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        return 2;
    }
    namespace Cleaner = ai::TranscriptCleaner;
    const auto mic = read(argv[1]);
    const auto system = read(argv[2]);
    const double duration = std::strtod(argv[3], nullptr);
    const base::MonotonicClock clock;
    std::vector<ai::Transcript::Segment> kept;
    double best = std::numeric_limits<double>::infinity();
    for (long round = std::strtol(argv[4], nullptr, 10); round > 0; --round) {
        const double start = clock.now();
        kept = Cleaner::clean(mic.segments, system.segments, duration, Cleaner::Merge::No);
        best = std::min(best, clock.now() - start);
    }
    std::printf("seconds %.9f\n", best);
    for (const auto& segment : kept) {
        std::printf("kept %.2f %s %s\n", segment.start, qUtf8Printable(segment.speaker), qUtf8Printable(segment.text));
    }
    for (std::size_t i = 0; i < std::min(mic.segments.size(), system.segments.size()); ++i) {
        const auto heard = Cleaner::tokens(mic.segments[i].text);
        const auto played = Cleaner::tokens(system.segments[i].text);
        std::printf("ratio %a\n", Cleaner::ratio(heard, played));
    }
    return 0;
}
