// What one job does, which jobs the system asks for by itself, and how their outcomes are remembered in the folder.
//   Markers  ".tarvex-ai-failures" counts failed automatic runs; ".tarvex-ai-cancelled" ends automatic work on a
//   meeting.
//            A success removes both; the user's own failed tries leave them alone
//   Threads  run blocks for as long as the tools run; the rest reads and writes small files
#pragma once

#include "ai/AIFailure.h"
#include "ai/AIRequest.h"
#include "ai/AIStatus.h"
#include "ai/StepContext.h"
#include "base/HostClock.h"
#include "store/MeetingLibrary.h"

#include <QDateTime>

#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

namespace jobs::AIPipeline {

inline constexpr const char* failuresFile = ".tarvex-ai-failures";
inline constexpr const char* cancelledMarker = ".tarvex-ai-cancelled";
/// Failed automatic runs after which the system gives up on a meeting.
inline constexpr int automaticTries = 2;
/// Older meetings are not taken up again at launch. Seconds.
inline constexpr double resumeAge = 604800.0;
/// A meeting may end this far in the future and still be resumed: clocks differ a little. Seconds.
inline constexpr double resumeFuture = 60.0;

/// The steps, so that a test can put its own in their place.
struct Steps {
    using Step = std::function<ai::StepResult(const std::filesystem::path& folder, const ai::StepContext& context)>;
    Step transcribe;
    Step summarize; ///< of a meeting
    Step coach;     ///< of a practice take

    [[nodiscard]] static Steps real();
};

struct Hooks {
    const base::HostClock& clock;
    std::function<void(ai::AIStep step, double seconds)> timed; ///< after each step that succeeded
    std::function<void(const ai::AIStatus& status)> progress;   ///< before each step
};

/// Runs what is due of the two steps; a failure skips what follows it.
[[nodiscard]] ai::StepResult run(const ai::AIRequest& request, const ai::StepContext& context, const Steps& steps,
                                 const Hooks& hooks);

/// What the system asks for after a recording; nullopt if the result is already there.
[[nodiscard]] std::optional<ai::AIRequest> autoRequest(const std::filesystem::path& folder);
/// What was left undone, the oldest meeting first. Nothing is enqueued by this.
[[nodiscard]] std::vector<ai::AIRequest> resumeRequests(const std::filesystem::path& meetings, const QDateTime& now,
                                                        const QSet<QString>& skipping);
/// Keeps count of failed automatic runs. Best effort: no failure of its own.
void recordOutcome(const std::filesystem::path& folder, bool automatic, bool failed);

/// coach.json of a practice take, summary.json of a meeting.
[[nodiscard]] std::filesystem::path aiOutputURL(const store::MeetingRecord& record);

} // namespace jobs::AIPipeline
