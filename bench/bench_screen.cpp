// What a look at an unchanged screen costs, beside Qt's smooth scaling of the same picture to the same size.
// Qt scales on all cores: CPU is what it costs on one. With $DISPLAY set the grab of a monitor is measured as well.
#include "base/Dispatch.h"
#include "base/MainScheduler.h"
#include "capture/ScreenDiff.h"
#include "capture/ShotSize.h"
#include "platform/linux/X11Screens.h"

#include <QCoreApplication>
#include <QImage>
#include <QRandomGenerator>
#include <benchmark/benchmark.h>

#include <future>

using namespace capture;

namespace {

/// Windows and lines of text on a plain ground, as screens have them.
QImage screenPicture(int width, int height) {
    QImage picture(width, height, QImage::Format_RGB32);
    picture.fill(qRgb(40, 44, 52));
    QRandomGenerator random(1);
    for (int line = 0; line < height; ++line) {
        auto* pixels = reinterpret_cast<QRgb*>(picture.scanLine(line));
        if (line % 20 < 12) {
            for (int column = 0; column < width; ++column) {
                pixels[column] = random.bounded(3) == 0 ? random.generate() | 0xFF000000U : pixels[column];
            }
        }
    }
    return picture;
}

void thumbnailAndComparison(benchmark::State& state) {
    const QImage picture = screenPicture(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    const ScreenDiff::Thumbnail reference = ScreenDiff::thumbnail(picture);
    for (auto _ : state) {
        benchmark::DoNotOptimize(ScreenDiff::changed(reference, ScreenDiff::thumbnail(picture)));
    }
    state.SetBytesProcessed(state.iterations() * picture.sizeInBytes());
}

void qtSmoothScaling(benchmark::State& state) {
    const QImage picture = screenPicture(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(picture.scaled(ScreenDiff::thumbWidth, ScreenDiff::thumbHeight, Qt::IgnoreAspectRatio,
                                                Qt::SmoothTransformation));
    }
    state.SetBytesProcessed(state.iterations() * picture.sizeInBytes());
}

/// All pixels read once: what no way of scaling can be faster than.
void readingEveryPixel(benchmark::State& state) {
    const QImage picture = screenPicture(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    std::vector<uchar> copy(static_cast<std::size_t>(picture.sizeInBytes()));
    for (auto _ : state) {
        std::copy_n(picture.constBits(), copy.size(), copy.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * picture.sizeInBytes());
}

/// The reply to a request, waited for.
template<typename Value, typename Request>
Value answered(Request request) {
    std::promise<Value> promise;
    request([&promise](Value reply) { promise.set_value(std::move(reply)); });
    return promise.get_future().get();
}

void grab(benchmark::State& state) {
    base::MainScheduler main;
    base::ThreadDispatch dispatch(main);
    platform::linux_desktop::X11Screens screens(dispatch);
    using Content = std::expected<ScreenContent, QString>;
    using Picture = std::expected<QImage, QString>;
    const auto content = answered<Content>([&](auto reply) { screens.content(reply); });
    if (!content || content->displays.empty()) {
        state.SkipWithError("no display");
        return;
    }
    const Display display = content->displays.front();
    const PixelSize fitted = ShotSize::fit(display.pixelWidth, display.pixelHeight, ShotSize::maxEdge);
    const PixelSize size = state.range(0) != 0 ? fitted : PixelSize{display.pixelWidth, display.pixelHeight};
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            answered<Picture>([&](auto reply) { screens.picture(display, size.width, size.height, reply); }));
    }
    state.SetLabel(std::to_string(display.pixelWidth) + "x" + std::to_string(display.pixelHeight));
}

} // namespace

BENCHMARK(thumbnailAndComparison)->Args({2560, 1440})->Args({1920, 1080})->Args({3840, 2160})->MeasureProcessCPUTime();
BENCHMARK(qtSmoothScaling)->Args({2560, 1440})->Args({1920, 1080})->Args({3840, 2160})->MeasureProcessCPUTime();
BENCHMARK(readingEveryPixel)->Args({2560, 1440});
BENCHMARK(grab)->ArgName("fitted")->Arg(0)->Arg(1)->UseRealTime();

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
