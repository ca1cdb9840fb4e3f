// Renaming a type in many meetings, against writing the same files durably one by one in the same run.
//   ratio         time of the walk / time of the write loop; at most 3 is wanted
//   longest_ms    the longest time the main thread was not free during the walk
// The folder lies where temporary files lie: set TMPDIR to measure another disk.
#include "base/Dispatch.h"
#include "base/HostClock.h"
#include "base/MainScheduler.h"
#include "store/MeetingLibrary.h"
#include "store/MeetingMeta.h"
#include "store/TypeRewrite.h"
#include "store/TypeRewriter.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QTimer>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

double since(double begin) {
    return base::MonotonicClock().now() - begin;
}

/// Folders with a meta.json as recordings leave it.
class Meetings {
public:
    explicit Meetings(int count) {
        const QDateTime first(QDate(2024, 1, 1), QTime(9, 0), QTimeZone("Asia/Taipei"));
        std::mt19937 random(7);
        for (int index = 0; index < count; ++index) {
            const auto start = first.addSecs(index * 4000);
            const auto meeting = path / base::pathFrom(start.toString(u"yyyy_MM_dd_HHmm"_s) + u"_meeting"_s);
            base::fs::create_directories(meeting);
            const double duration = std::uniform_real_distribution(60.0, 5000.0)(random);
            const store::MeetingAnswers answers{
                u"Work"_s, {u"Ann"_s, u"Bob"_s, u"林小姐"_s}, u"第 "_s + QString::number(index) + u" 次 weekly sync"_s};
            const auto end = start.addSecs(static_cast<qint64>(duration));
            const auto meta = store::MeetingMeta::make(start, end, duration, answers, true, std::nullopt);
            files.push_back(meeting / "meta.json");
            contents.push_back(meta.data().value());
            write(files.back(), contents.back());
        }
    }

    static void write(const base::fs::path& file, const QByteArray& bytes) {
        if (!base::replaceFile(file, bytes)) {
            std::abort();
        }
    }

    /// Seconds for writing every file once.
    [[nodiscard]] double writeAll() const {
        const double begin = base::MonotonicClock().now();
        for (std::size_t index = 0; index < files.size(); ++index) {
            write(files[index], contents[index]);
        }
        return since(begin);
    }

    QTemporaryDir folder;
    base::fs::path path = folder.path().toStdString();
    std::vector<base::fs::path> files;
    std::vector<QByteArray> contents;
};

void renameAtOnce(benchmark::State& state) {
    const Meetings meetings(static_cast<int>(state.range(0)));
    double writing = 0;
    double walking = 0;
    for (auto _ : state) {
        writing += meetings.writeAll(); // also brings the old name back
        const double begin = base::MonotonicClock().now();
        const auto change = store::TypeRewrite::run({meetings.path, u"Work"_s, u"Job"_s});
        const double took = since(begin);
        if (change.changed != state.range(0)) {
            state.SkipWithError("not every meeting was changed");
        }
        walking += took;
        state.SetIterationTime(took);
    }
    state.counters["ratio"] = walking / writing;
}

void renameBesideTheWindow(benchmark::State& state) {
    const Meetings meetings(static_cast<int>(state.range(0)));
    base::MainScheduler main;
    base::ThreadDispatch dispatch(main);
    const base::MonotonicClock clock;
    double writing = 0;
    double walking = 0;
    double longest = 0;
    for (auto _ : state) {
        writing += meetings.writeAll();
        QEventLoop loop;
        QTimer window; // stands for a window that wants to draw and to take input
        double last = clock.now();
        QObject::connect(&window, &QTimer::timeout,
                         [&] { longest = std::max(longest, since(std::exchange(last, clock.now()))); });
        window.start(0);
        store::TypeRewriter rewriter(dispatch, clock);
        const double begin = clock.now();
        rewriter.add({meetings.path, u"Work"_s, u"Job"_s},
                     {.onProgress = {}, .onFinished = [&loop](store::TypeChange) { loop.quit(); }});
        loop.exec();
        walking += since(begin);
        state.SetIterationTime(since(begin));
    }
    state.counters["ratio"] = walking / writing;
    state.counters["longest_ms"] = longest * 1000;
}

BENCHMARK(renameAtOnce)->Arg(1000)->Arg(10000)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(renameBesideTheWindow)->Arg(10000)->UseManualTime()->Iterations(2)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
