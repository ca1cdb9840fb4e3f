// What listing the library costs, beside a loop that only opens, reads and closes each meta.json.
// The folders are as a year of meetings leaves them: transcript, summary, notes and 40 screenshots each, in the
// temporary folder ($TMPDIR), all of it in the cache. "ratio" is the median over the loop's median.
#include "base/Files.h"
#include "base/Handle.h"
#include "store/MeetingLibrary.h"
#include "store/MeetingMeta.h"
#include "store/MeetingNaming.h"

#include <QDateTime>
#include <QRandomGenerator>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <map>
#include <stdexcept>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

constexpr int shotsPerMeeting = 40;

QString words(QRandomGenerator& random, int count) {
    static const QStringList known{u"weekly"_s, u"sync"_s, u"預算"_s, u"下週"_s, u"release"_s,
                                   u"客戶"_s,   u"的"_s,   u"plan"_s, u"會議"_s, u"design"_s};
    QStringList chosen;
    for (int i = 0; i < count; ++i) {
        chosen.append(known.at(random.bounded(known.size())));
    }
    return chosen.join(u' ');
}

/// Many names for one content cost neither time nor room; a file can have some ten thousands of names.
class SharedFile {
public:
    SharedFile(fs::path folder, QByteArray content) : m_folder(std::move(folder)), m_content(std::move(content)) {}

    void appearAs(const fs::path& path) {
        if (m_names % 30'000 == 0) {
            m_file = m_folder / std::to_string(m_names);
            if (!base::replaceFile(m_file, m_content)) {
                throw std::runtime_error("no room for the sample library");
            }
        }
        ++m_names;
        fs::create_hard_link(m_file, path);
    }

private:
    fs::path m_folder;
    QByteArray m_content;
    fs::path m_file;
    int m_names = 0;
};

/// A library of `count` meetings that goes with this object.
class SampleLibrary {
public:
    explicit SampleLibrary(int count) : m_random(1) {
        std::string pattern = (fs::temp_directory_path() / "brieflet-bench-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        m_root = pattern;
        for (const char* folder : {"Meetings", "transcripts", "texts", "shots"}) {
            fs::create_directory(m_root / folder);
        }
        SharedFile transcript(m_root / "transcripts", words(m_random, 8000).toUtf8());
        SharedFile text(m_root / "texts", words(m_random, 300).toUtf8());
        SharedFile shot(m_root / "shots", QByteArray(60'000, 'j'));
        for (int i = 0; i < count; ++i) {
            add(QDateTime(QDate(2024, 1, 1), QTime(9, 0), Qt::UTC).addSecs(3000LL * i), transcript, text, shot);
        }
    }

    SampleLibrary(const SampleLibrary&) = delete;
    SampleLibrary& operator=(const SampleLibrary&) = delete;

    ~SampleLibrary() {
        std::error_code ignored;
        fs::remove_all(m_root, ignored);
    }

    [[nodiscard]] fs::path meetings() const { return m_root / "Meetings"; }

    [[nodiscard]] const std::vector<fs::path>& metaFiles() const { return m_metaFiles; }

private:
    void add(const QDateTime& start, SharedFile& transcript, SharedFile& text, SharedFile& shot) {
        const QString note = words(m_random, 3);
        const QTimeZone zone("Asia/Taipei");
        const fs::path folder = meetings() / base::pathFrom(store::MeetingNaming::folderName(start, note, zone));
        fs::create_directories(folder / "shots");
        const store::MeetingAnswers answers{u"週會"_s, words(m_random, 4).split(u' '), note};
        const auto meta =
            store::MeetingMeta::make(start, start.addSecs(1900), 1899.7, answers, true, std::nullopt, zone);
        const QByteArray bytes = meta.data().value();
        const base::FileDescriptor file(::open((folder / "meta.json").c_str(), O_WRONLY | O_CREAT, 0600));
        if (::write(file.get(), bytes.constData(), static_cast<std::size_t>(bytes.size())) != bytes.size()) {
            throw std::runtime_error("no room for the sample library");
        }
        m_metaFiles.push_back(folder / "meta.json");
        transcript.appearAs(folder / "transcript.json");
        text.appearAs(folder / "summary.json");
        text.appearAs(folder / "notes.md");
        for (int i = 0; i < shotsPerMeeting; ++i) {
            shot.appearAs(folder / "shots" / base::pathFrom(store::MeetingNaming::shotName(30LL * i, 1)));
        }
    }

    QRandomGenerator m_random;
    fs::path m_root;
    std::vector<fs::path> m_metaFiles;
};

const SampleLibrary& library(int count) {
    static std::map<int, SampleLibrary> made;
    return made.try_emplace(count, count).first->second;
}

void readAll(const std::vector<fs::path>& files) {
    std::array<char, 65536> buffer{};
    for (const fs::path& path : files) {
        const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        benchmark::DoNotOptimize(::read(file, buffer.data(), buffer.size()));
        ::close(file);
    }
}

double secondsOf(const auto& work) {
    const auto before = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - before).count();
}

double median(std::vector<double> values) {
    std::ranges::nth_element(values, values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2));
    return values[values.size() / 2];
}

void load(benchmark::State& state) {
    const SampleLibrary& sample = library(static_cast<int>(state.range(0)));
    std::vector<double> plain;
    std::vector<double> loaded;
    for (auto _ : state) {
        // In turns, so that whatever else the machine does meets both alike.
        plain.push_back(secondsOf([&] { readAll(sample.metaFiles()); }));
        std::size_t records = 0;
        loaded.push_back(secondsOf([&] { records = store::MeetingLibrary::load(sample.meetings()).size(); }));
        state.SetIterationTime(loaded.back());
        if (records != sample.metaFiles().size()) {
            state.SkipWithError("records are missing");
            return;
        }
    }
    state.counters["ratio"] = median(loaded) / median(plain);
    state.counters["us/meeting"] = median(loaded) / static_cast<double>(state.range(0)) * 1e6;
}

} // namespace

BENCHMARK(load)->Arg(100)->Arg(1'000)->Arg(10'000)->UseManualTime()->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
