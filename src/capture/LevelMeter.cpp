#include "capture/LevelMeter.h"

#include <algorithm>
#include <cmath>

namespace capture::LevelMeter {

namespace {

/// Within 0 and 1; what is no number counts as 0.
double limited(double level) {
    return std::isnan(level) ? 0.0 : std::clamp(level, 0.0, 1.0);
}

} // namespace

double dB(double sumSquares, std::int64_t count) noexcept {
    if (count < 1 || !(sumSquares > 0)) {
        return silenceDB;
    }
    return std::max(10 * std::log10(sumSquares / static_cast<double>(count)), silenceDB);
}

double level(double db) noexcept {
    return limited((db - floorDB) / -floorDB);
}

QChar glyph(double level) noexcept {
    const auto step = static_cast<std::size_t>(limited(level) * static_cast<double>(glyphs.size()));
    return glyphs[std::min(step, glyphs.size() - 1)];
}

QString text(std::span<const double> history) {
    const auto shown = history.last(std::min(history.size(), cells));
    QString bar(static_cast<qsizetype>(cells - shown.size()), QChar(glyphs.front()));
    for (const double level : shown) {
        bar += glyph(level);
    }
    return bar;
}

} // namespace capture::LevelMeter
