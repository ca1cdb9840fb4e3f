// The stretches of a track that hold sound, put together into pieces that an engine is given one by one, and the way
// back from a moment in a piece to its moment in the track.
//   Units    seconds
//   Threads  any; plain values
#pragma once

#include "adapter/Loudness.h"

#include <cstdint>
#include <span>
#include <vector>

namespace adapter {

/// Stretches of a track one behind the other, without what lies between them.
class Piece {
public:
    Piece() = default;

    explicit Piece(std::vector<Range> ranges) : m_ranges(std::move(ranges)) {}

    [[nodiscard]] const std::vector<Range>& ranges() const { return m_ranges; }

    [[nodiscard]] double length() const;
    /// The moment in the track of one in the piece. At a seam a segment's start belongs to the stretch behind it, its
    /// end to the one before. What lies outside the piece counts as its beginning or end.
    [[nodiscard]] double startInTrack(double seconds) const;
    [[nodiscard]] double endInTrack(double seconds) const;

private:
    std::vector<Range> m_ranges;
};

/// The first piece is short, so that soon it shows how fast this machine is.
inline constexpr double firstPieceSeconds = 60.0;
inline constexpr double pieceSeconds = 600.0;

/// Where a stretch that is too long is divided: a search that far back from where it must be, for the quietest moment.
inline constexpr double seamSearchSeconds = 10.0;

/// Pieces up to those lengths, in order. `levels` are those of the track's frames, for finding seams that cut no word.
[[nodiscard]] std::vector<Piece> pieces(std::span<const Range> ranges, std::span<const float> levels);

} // namespace adapter
