// What becomes of a practice take whose "keep this one?" was ended in one way or another: only the explicit discard
// discards, everything else keeps.
//   Threads  any; no state
#pragma once

#include <QString>

#include <cstdint>

namespace practice {

/// What ended the question.
enum class KeepEvent : std::uint8_t {
    Keep,
    Discard,
    WindowClosed,
    SwitchedMeeting,
    Quitting,
    NewRecording,
    Generate,
};

enum class KeepChoice : std::uint8_t { Keep, Discard };

/// "keep", "discard".
[[nodiscard]] QString choiceName(KeepChoice choice);

namespace KeepRules {

[[nodiscard]] KeepChoice choice(KeepEvent event);
/// Whether a kept take goes on to be transcribed at once. Not at the end of the program, where the next launch picks
/// it up, and not when the user asks for it by hand, which is a request of its own.
[[nodiscard]] bool queuesNow(KeepEvent event);

} // namespace KeepRules
} // namespace practice
