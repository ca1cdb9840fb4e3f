// Every cut of a history with every kind of loss, each restored to a folder of its own and handed to a check.
//     powercut::Recording recording(folder);
//     doSomething(folder);
//     const auto found = powercut::tryCuts(recording.finish(), [](const powercut::Cut& cut) {
//         return isWhole(cut.folder) ? "" : "the file is torn";
//     });
//     EXPECT_EQ(found, "");
#pragma once

#include "powercut/History.h"

#include <filesystem>
#include <functional>
#include <string>

namespace powercut {

struct Cut {
    const History& history;
    std::size_t steps;            ///< that were done before the power went
    std::filesystem::path folder; ///< what is left

    [[nodiscard]] bool isAfter(const std::string& mark) const { return steps > history.markOf(mark); }

    [[nodiscard]] bool isLast() const { return steps == history.steps.size(); }
};

/// Says what is wrong with what is left; empty if nothing is.
using Check = std::function<std::string(const Cut&)>;

/// Of what was not flushed, the disk keeps at each cut: nothing; everything; the names alone; the bytes alone; and
/// `mixtures` times a part of it by chance, also halves of single writes. Gives what was first found wrong with the way
/// there, or an empty text. Only every `stride`th cut is tried, and the last.
[[nodiscard]] std::string tryCuts(const History& history, const Check& check, int mixtures = 8, std::size_t stride = 1);

} // namespace powercut
