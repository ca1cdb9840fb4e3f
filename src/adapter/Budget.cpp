#include "adapter/Budget.h"

#include <algorithm>

namespace adapter {

Budget::Budget(unsigned cores)
    : m_secondsPerCost(1.0 / std::max(1.0, usefulShareOfCores * static_cast<double>(cores))) {}

void Budget::measured(const ai::SpeechModel& model, double speech, double seconds) {
    if (speech > 0 && model.cost > 0) {
        m_secondsPerCost = seconds / speech / model.cost;
    }
}

double Budget::expected(const ai::SpeechModel& model, double speech) const {
    return model.cost * speech * m_secondsPerCost;
}

std::size_t Budget::choose(std::span<const ai::SpeechModel> models, double speech, double left) const {
    for (std::size_t at = 0; at < models.size(); ++at) {
        if (expected(models[at], speech) <= left * margin) {
            return at;
        }
    }
    const auto quickest = std::ranges::min_element(models, {}, &ai::SpeechModel::cost);
    return static_cast<std::size_t>(quickest - models.begin());
}

} // namespace adapter
