// How the AI work on a meeting stands.
//   Threads  any; a plain value
#pragma once

#include "ai/AIRequest.h"
#include "ai/AIStep.h"

#include <QString>

#include <utility>
#include <variant>

namespace ai {

class AIStatus {
public:
    /// The last try failed.
    struct Failed {
        AIStep step = AIStep::Transcribe;
        QString message;   ///< the text that the user reads
        AIRequest request; ///< what a retry asks for
        bool operator==(const Failed&) const = default;
    };

    enum class Kind { Failed, Queued, Transcribing, Summarizing };

    [[nodiscard]] static AIStatus failed(AIStep step, QString message, AIRequest request) {
        return AIStatus(Failed{step, std::move(message), std::move(request)});
    }

    [[nodiscard]] static AIStatus queued() { return AIStatus(Kind::Queued); } ///< waiting, or just taken

    [[nodiscard]] static AIStatus transcribing() { return AIStatus(Kind::Transcribing); }

    [[nodiscard]] static AIStatus summarizing() { return AIStatus(Kind::Summarizing); }

    [[nodiscard]] Kind kind() const { return failure() != nullptr ? Kind::Failed : std::get<Kind>(m_value); }

    /// nullptr unless it failed.
    [[nodiscard]] const Failed* failure() const { return std::get_if<Failed>(&m_value); }

    bool operator==(const AIStatus&) const = default;

private:
    explicit AIStatus(Kind kind) : m_value(kind) {}

    explicit AIStatus(Failed failed) : m_value(std::move(failed)) {}

    std::variant<Kind, Failed> m_value;
};

} // namespace ai
