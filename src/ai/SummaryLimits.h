// How much of each kind a summary holds. The user's own actions have no limit, on purpose: all of them are asked for.
#pragma once

#include <QtGlobal>

#include <cstddef>
#include <cstdint>

namespace ai::AIPipeline {

inline constexpr std::int64_t summaryVersion = 4;
inline constexpr std::size_t maxPoints = 5;
inline constexpr qsizetype maxPointItems = 6;
inline constexpr qsizetype maxNotes = 3;
inline constexpr qsizetype maxDecisions = 5;
inline constexpr std::size_t maxOtherActions = 8;

} // namespace ai::AIPipeline
