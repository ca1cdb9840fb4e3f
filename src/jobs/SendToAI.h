// The button that saves the user's notes and has the AI write its text anew with them.
//   Threads  any; no state
#pragma once

#include "ai/AIRequest.h"
#include "ai/AIStatus.h"
#include "base/Files.h"
#include "copy/MainCopy.h"

#include <QString>

#include <expected>
#include <filesystem>
#include <functional>
#include <optional>

namespace jobs::SendToAI {

struct State {
    enum class Kind {
        Blocked, ///< it can't be done, `reason` says why
        Empty,   ///< a meeting has no notes to send; a practice take needs none
        Working,
        Ready
    };

    Kind kind = Kind::Ready;
    QString reason; ///< of Blocked
    bool operator==(const State&) const = default;
};

/// `blocked`: why nothing can be generated, if so.
[[nodiscard]] State state(const QString& notes, bool working, const std::optional<QString>& blocked, bool practice);
[[nodiscard]] QString title(const State& state, const copy::MainCopy& copy);
/// The line under the notes while the work waits or runs; nullopt otherwise. `remaining`: seconds left of the step.
[[nodiscard]] std::optional<QString> workingLine(const std::optional<ai::AIStatus>& status,
                                                 std::optional<double> remaining, const copy::MainCopy& copy);

using Save = std::function<std::expected<void, base::FileError>(const QString& notes)>;
using Ask = std::function<void(const ai::AIRequest& request)>;

/// Saves the notes, then asks for the work, so that it finds them. False: there are none to send, and nothing was done.
/// Notes that can't be saved are an error, and nothing is asked for.
[[nodiscard]] std::expected<bool, base::FileError> send(const std::filesystem::path& folder, const QString& notes,
                                                        bool practice, const Save& save, const Ask& request);

} // namespace jobs::SendToAI
