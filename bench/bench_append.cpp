// What a minute of recording costs the audio queue: 6000 blocks of 10 ms, converted, measured and written, beside the
// bare writing of the same bytes. And that an hour needs no more memory than a minute.
#include "SpeechLike.h"
#include "base/HostClock.h"
#include "base/SerialQueue.h"
#include "capture/AudioTrackWriter.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <unistd.h>

using namespace capture;

namespace {

constexpr int blocksPerMinute = 6000;

class Folder {
public:
    Folder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "brieflet-bench-XXXXXX").string();
        m_path = ::mkdtemp(pattern.data());
    }

    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    [[nodiscard]] std::filesystem::path operator/(const char* name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
};

/// Both channels the same, as most microphones give them.
std::vector<float> stereo(double seconds, double sampleRate) {
    std::vector<float> samples;
    for (const std::int16_t sample : bench::speechLike(seconds, sampleRate, 1)) {
        samples.insert(samples.end(), 2, static_cast<float>(sample) / 32768.0F);
    }
    return samples;
}

std::int64_t residentBytes() {
    std::ifstream file("/proc/self/statm");
    std::int64_t total = 0;
    std::int64_t resident = 0;
    file >> total >> resident;
    return resident * ::sysconf(_SC_PAGESIZE);
}

/// Appends a second of sound, in blocks of 10 ms, `seconds` times over.
void record(AudioTrackWriter& writer, const std::vector<float>& second, double sampleRate, double start, int seconds) {
    const auto bytes = std::as_bytes(std::span(second));
    const std::size_t blockBytes = bytes.size() / 100;
    for (int block = 0; block < 100 * seconds; ++block) {
        const auto part = bytes.subspan(static_cast<std::size_t>(block % 100) * blockBytes, blockBytes);
        writer.append({{SampleType::Float32, sampleRate, 2}, part, start + block / 100.0});
    }
}

/// Recorded in the bench's own thread, so that it alone is measured.
struct Recorder {
    Folder folder;
    base::MonotonicClock clock;
    base::SerialQueue main{"com.orvane.tarvex.bench.main"};
    base::ThreadDispatch dispatch{main};
    double start = clock.now();
    std::shared_ptr<AudioTrackWriter> writer =
        AudioTrackWriter::create(folder / "mic.caf", "mic", start, {dispatch, clock}).value_or(nullptr);
};

void appendAMinute(benchmark::State& state) {
    const auto sampleRate = static_cast<double>(state.range(0));
    const auto second = stereo(1.0, sampleRate);
    for (auto _ : state) {
        state.PauseTiming();
        auto recorder = std::make_unique<Recorder>();
        state.ResumeTiming();
        record(*recorder->writer, second, sampleRate, recorder->start, 60);
        state.PauseTiming();
        recorder.reset();
        state.ResumeTiming();
    }
    state.counters["times_real_time"] =
        benchmark::Counter(60.0 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

/// What no writer that loses nothing can be faster than.
void bareWritingOfAMinute(benchmark::State& state) {
    const std::vector<char> block(960);
    const Folder folder;
    for (auto _ : state) {
        const int file = ::open((folder / "bare").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        for (int index = 0; index < blocksPerMinute; ++index) {
            benchmark::DoNotOptimize(::write(file, block.data(), block.size()));
        }
        ::close(file);
    }
}

void memoryOfAnHour(benchmark::State& state) {
    const auto second = stereo(1.0, 44100.0);
    for (auto _ : state) {
        Recorder recorder;
        record(*recorder.writer, second, 44100.0, recorder.start, 60);
        const std::int64_t afterAMinute = residentBytes();
        record(*recorder.writer, second, 44100.0, recorder.start + 60, 3540);
        state.counters["grown_kilobytes"] = static_cast<double>(residentBytes() - afterAMinute) / 1024;
        recorder.writer->discard();
    }
}

} // namespace

BENCHMARK(appendAMinute)->Arg(48000)->Arg(44100)->Unit(benchmark::kMillisecond);
BENCHMARK(bareWritingOfAMinute)->Unit(benchmark::kMillisecond);
BENCHMARK(memoryOfAnHour)->Iterations(1)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
