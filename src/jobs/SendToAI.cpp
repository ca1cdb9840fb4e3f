#include "jobs/SendToAI.h"

#include "base/Text.h"
#include "jobs/AIStatusText.h"

namespace jobs::SendToAI {
namespace {

bool hasNothingToSend(const QString& notes, bool practice) {
    return !practice && base::Text::trimmed(notes).isEmpty();
}

} // namespace

State state(const QString& notes, bool working, const std::optional<QString>& blocked, bool practice) {
    if (working) {
        return {State::Kind::Working, {}};
    }
    if (hasNothingToSend(notes, practice)) {
        return {State::Kind::Empty, {}};
    }
    return blocked ? State{State::Kind::Blocked, *blocked} : State{State::Kind::Ready, {}};
}

QString title(const State& state, const copy::MainCopy& copy) {
    return state.kind == State::Kind::Working ? copy.sendingToAI : copy.sendToAI;
}

std::optional<QString> workingLine(const std::optional<ai::AIStatus>& status, std::optional<double> remaining,
                                   const copy::MainCopy& copy) {
    if (!status || status->kind() == ai::AIStatus::Kind::Failed) {
        return std::nullopt;
    }
    if (status->kind() == ai::AIStatus::Kind::Queued) {
        return copy.sendingToAIEta(copy.etaQueued);
    }
    if (!remaining) {
        return copy.sendingToAI;
    }
    const auto left =
        status->kind() == ai::AIStatus::Kind::Transcribing ? AIStatusText::minutesLeft : AIStatusText::secondsLeft;
    return copy.sendingToAIEta(left(*remaining, AIStatusText::Length::Long, copy));
}

std::expected<bool, base::FileError> send(const std::filesystem::path& folder, const QString& notes, bool practice,
                                          const Save& save, const Ask& request) {
    if (hasNothingToSend(notes, practice)) {
        return false;
    }
    if (const auto saved = save(notes); !saved) {
        return std::unexpected(saved.error());
    }
    request(
        {.folder = folder, .transcribe = ai::AIRequest::Transcribe::IfMissing, .summarize = true, .automatic = false});
    return true;
}

} // namespace jobs::SendToAI
