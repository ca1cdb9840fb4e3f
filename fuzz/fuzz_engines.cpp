// What speech engines write, from anywhere: nothing, or segments that never run backwards.
#include "Require.h"
#include "adapter/EngineOutput.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace {

void requireForwards(const ai::WhisperOutput& output) {
    for (const auto& segment : output.segments) {
        require(!(segment.end < segment.start));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    requireForwards(adapter::EngineOutput::fromSphinx(bytes));
    for (const auto& output :
         {adapter::EngineOutput::fromWhisper(bytes), adapter::EngineOutput::fromWhisperCpp(bytes)}) {
        if (output) {
            requireForwards(*output);
        }
    }
    return 0;
}
