#include "practice/PracticeKeepFlow.h"

#include <utility>

namespace practice {

void PracticeKeepFlow::ask(const base::fs::path& folder) {
    if (m_pending && *m_pending != folder) {
        resolve(KeepEvent::NewRecording);
    }
    m_pending = folder;
    changed();
}

std::optional<KeepChoice> PracticeKeepFlow::resolve(KeepEvent event) {
    if (!m_pending) {
        return std::nullopt;
    }
    // Cleared before calling out: what the answer sets in motion may well raise the next event.
    const base::fs::path folder = *std::exchange(m_pending, std::nullopt);
    if (event == KeepEvent::Discard) {
        if (onDiscard) {
            onDiscard(folder);
        }
    } else if (onKeep) {
        onKeep(folder, event);
    }
    changed();
    return KeepRules::choice(event);
}

bool PracticeKeepFlow::isPending(const base::fs::path& folder) const {
    return m_pending && base::standardized(*m_pending) == base::standardized(folder);
}

void PracticeKeepFlow::changed() const {
    if (onChange) {
        onChange();
    }
}

} // namespace practice
