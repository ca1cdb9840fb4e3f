// The costly step of the tracker: a block of samples multiplied with the same samples shifted by every lag.
//   sums[tau] = x[0] * x[tau] + ... + x[159] * x[159 + tau], for tau 0 to 214, in 32-bit floats
//   Input    `x` holds blockInput samples; `sums` has room for blockLags values, of which those from 215 on mean
//   nothing Threads  any; no state
#pragma once

#include <cstddef>

namespace practice {

inline constexpr std::size_t blockLength = 160;
/// 215 lags, rounded up to whole vectors of eight.
inline constexpr std::size_t blockLags = 216;
inline constexpr std::size_t blockInput = blockLength + blockLags;

using BlockCorrelation = void (*)(const float* x, float* sums);

/// The sum as it is written, one product after the other: what every quicker form is compared with.
void plainBlockCorrelation(const float* x, float* sums);
/// The quickest form that this processor can run; chosen once.
[[nodiscard]] BlockCorrelation bestBlockCorrelation();

} // namespace practice
