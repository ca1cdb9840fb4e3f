#include "practice/BlockCorrelation.h"

#include <array>
#include <cstring>

namespace practice {

void plainBlockCorrelation(const float* x, float* sums) {
    for (std::size_t lag = 0; lag < blockLags; ++lag) {
        float sum = 0;
        for (std::size_t j = 0; j < blockLength; ++j) {
            sum += x[j] * x[j + lag];
        }
        sums[lag] = sum;
    }
}

#if defined(__x86_64__) || defined(__i386__)

namespace {

constexpr std::size_t lanes = 8;
/// Accumulators held in registers at a time: nine, the sample and the shifted samples fit into sixteen.
constexpr std::size_t vectorsPerPass = 9;
static_assert(blockLags % (lanes * vectorsPerPass) == 0);

using Vector = float __attribute__((vector_size(lanes * sizeof(float))));

/// One pass over the block for 72 neighbouring lags: every product of a sample is added in its own lane, so that no
/// lane is ever summed across.
__attribute__((target("avx2,fma"))) void correlateLags(const float* x, std::size_t firstLag, float* sums) {
    std::array<Vector, vectorsPerPass> accumulated{};
    for (std::size_t j = 0; j < blockLength; ++j) {
        const float sample = x[j];
        const Vector repeated = {sample, sample, sample, sample, sample, sample, sample, sample};
        const float* shifted = x + j + firstLag;
#pragma GCC unroll 9
        for (std::size_t v = 0; v < vectorsPerPass; ++v) {
            Vector values;
            std::memcpy(&values, shifted + v * lanes, sizeof values);
            accumulated[v] += repeated * values;
        }
    }
    std::memcpy(sums + firstLag, accumulated.data(), sizeof accumulated);
}

void wideBlockCorrelation(const float* x, float* sums) {
    for (std::size_t firstLag = 0; firstLag < blockLags; firstLag += lanes * vectorsPerPass) {
        correlateLags(x, firstLag, sums);
    }
}

} // namespace

BlockCorrelation bestBlockCorrelation() {
    static const bool wide = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    return wide ? wideBlockCorrelation : plainBlockCorrelation;
}

#else

BlockCorrelation bestBlockCorrelation() {
    return plainBlockCorrelation;
}

#endif

} // namespace practice
