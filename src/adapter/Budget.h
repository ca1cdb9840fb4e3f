// Which model this machine can run in the time that is left, from what it has shown so far.
//   Units    seconds
//   Threads  any; pure
#pragma once

#include "ai/SpeechEngines.h"

#include <cstddef>
#include <optional>
#include <span>

namespace adapter {

class Budget {
public:
    /// How fast a core is taken to be, and how well the engines share work among cores, before anything is measured.
    static constexpr double usefulShareOfCores = 0.7;
    /// What is left over for guesses that were wrong.
    static constexpr double margin = 0.85;

    explicit Budget(unsigned cores);

    /// A model took `seconds` for so much speech.
    void measured(const ai::SpeechModel& model, double speech, double seconds);
    /// How long a model will take for so much speech.
    [[nodiscard]] double expected(const ai::SpeechModel& model, double speech) const;
    /// The first of `models` that is expected to do it within `left`; the quickest if none is.
    [[nodiscard]] std::size_t choose(std::span<const ai::SpeechModel> models, double speech, double left) const;

private:
    double m_secondsPerCost; ///< of this machine, for a second of speech
};

} // namespace adapter
