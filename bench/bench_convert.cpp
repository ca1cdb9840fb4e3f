// Two finished tracks of five minutes to m4a, side by side, against the command-line encoder doing one after the other
// with the same codec, rate and bit rate. Both in every round, so that a busy machine slows both.
#include "SpeechLike.h"
#include "capture/AudioTrackWriter.h"
#include "media/CafFile.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>
#include <unistd.h>

using namespace capture;

namespace {

constexpr double trackSeconds = 300.0;
using Clock = std::chrono::steady_clock;

struct Tracks {
    std::filesystem::path folder;
    std::vector<std::filesystem::path> cafs;

    Tracks() {
        std::string pattern = (std::filesystem::temp_directory_path() / "brieflet-bench-XXXXXX").string();
        folder = ::mkdtemp(pattern.data());
        for (const auto* name : {"mic.caf", "system.caf"}) {
            const auto file = media::CafFile::create(folder / name, AudioTrackWriter::sampleRate);
            const auto sound =
                bench::speechLike(trackSeconds, AudioTrackWriter::sampleRate, static_cast<unsigned>(cafs.size() + 1));
            if (!file || !(*file)->write(sound) || !(*file)->close()) {
                std::abort();
            }
            cafs.push_back(folder / name);
        }
    }

    Tracks(const Tracks&) = delete;
    Tracks& operator=(const Tracks&) = delete;

    ~Tracks() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
};

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double sideBySide(const Tracks& tracks, benchmark::State& state) {
    const auto start = Clock::now();
    {
        std::vector<std::jthread> threads;
        for (const auto& caf : tracks.cafs) {
            threads.emplace_back([&] {
                if (!AudioTrackWriter::convertToM4A(caf, AudioTrackWriter::m4aURL(caf))) {
                    state.SkipWithError("conversion failed");
                }
            });
        }
    }
    return secondsSince(start);
}

double oneAfterTheOther(const Tracks& tracks, benchmark::State& state) {
    const auto start = Clock::now();
    for (const auto& caf : tracks.cafs) {
        const std::string command = "ffmpeg -nostdin -v error -y -i '" + caf.string() + "' -c:a aac -b:a 96k '" +
                                    AudioTrackWriter::m4aURL(caf).string() + "'";
        if (std::system(command.c_str()) != 0) {
            state.SkipWithError("ffmpeg failed");
        }
    }
    return secondsSince(start);
}

void convertTwoTracks(benchmark::State& state) {
    const Tracks tracks;
    double ours = 0;
    double theirs = 0;
    for (auto _ : state) {
        theirs += oneAfterTheOther(tracks, state);
        const double round = sideBySide(tracks, state);
        ours += round;
        state.SetIterationTime(round);
    }
    state.counters["times_as_fast"] = theirs / ours;
    state.counters["baseline_seconds"] = benchmark::Counter(theirs, benchmark::Counter::kAvgIterations);
    state.counters["times_real_time"] = 2 * trackSeconds * static_cast<double>(state.iterations()) / ours;
}

} // namespace

BENCHMARK(convertTwoTracks)->UseManualTime()->Iterations(3)->Unit(benchmark::kSecond);

BENCHMARK_MAIN();
