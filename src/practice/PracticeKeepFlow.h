// The one open question whether a practice take is kept.
//   Threads  main thread
//   Owns     nothing on the disk: a question that a crash cuts off leaves the take as kept
#pragma once

#include "base/Files.h"
#include "practice/KeepRules.h"

#include <functional>
#include <optional>

namespace practice {

class PracticeKeepFlow {
public:
    std::function<void(const base::fs::path&, KeepEvent)> onKeep;
    std::function<void(const base::fs::path&)> onDiscard;
    std::function<void()> onChange;

    /// Opens the question for a folder. One that is open for another folder is answered first, as kept.
    void ask(const base::fs::path& folder);
    /// Answers it. With nothing pending nothing happens, so a second answer does no harm.
    std::optional<KeepChoice> resolve(KeepEvent event);
    [[nodiscard]] bool isPending(const base::fs::path& folder) const;

    [[nodiscard]] const std::optional<base::fs::path>& pending() const { return m_pending; }

private:
    void changed() const;

    std::optional<base::fs::path> m_pending;
};

} // namespace practice
