// From sums of squares to decibels, to a level between 0 and 1, to a small bar of blocks.
//   Units    dB relative to full scale; levels 0 to 1
//   Threads  any; no state
//   Errors   none: numbers that are none count as silence
#pragma once

#include <QChar>
#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace capture::LevelMeter {

/// Level 0 of what is shown; 0 dB is level 1.
inline constexpr double floorDB = -60.0;
/// Stands for silence and for no data. Nothing is quieter.
inline constexpr double silenceDB = -90.0;
/// Characters of a bar, and length of a history of levels.
inline constexpr std::size_t cells = 8;
/// Lowest first.
inline constexpr std::array<char16_t, 8> glyphs = {u'▁', u'▂', u'▃', u'▄', u'▅', u'▆', u'▇', u'█'};

/// The mean power of `count` samples.
[[nodiscard]] double dB(double sumSquares, std::int64_t count) noexcept;
[[nodiscard]] double level(double db) noexcept;
[[nodiscard]] QChar glyph(double level) noexcept;
/// Always `cells` characters; the newest level, the last of the history, is the rightmost one.
[[nodiscard]] QString text(std::span<const double> history);

} // namespace capture::LevelMeter
