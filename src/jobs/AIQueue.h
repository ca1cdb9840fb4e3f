// All AI work, one job at a time, and what the interface shows about each meeting.
//   Threads  the main thread, for everything here; jobs run on a serial queue of their own and report back to it
//   Owns     the running job's child process: letting go of the queue stops it
//   Errors   a failed job becomes the folder's status and goes to onFinished; nothing is tried again without a request
#pragma once

#include "ai/AIFailure.h"
#include "ai/AIRequest.h"
#include "ai/AIStatus.h"
#include "ai/AITools.h"
#include "ai/ProcessRunner.h"
#include "base/Dispatch.h"
#include "base/HostClock.h"
#include "base/WallClock.h"
#include "jobs/AIEstimator.h"
#include "jobs/AIPipeline.h"

#include <QString>

#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>

namespace jobs {

class AIQueue {
public:
    static constexpr const char* workerLabel = "com.orvane.tarvex.ai";
    /// Why the machine is kept awake.
    static inline const QString activityReason = QStringLiteral("Tarvex transcript and summary");

    struct Parts {
        base::Dispatch& dispatch; ///< must outlive the queue
        const base::HostClock& clock;
        const base::WallClock& wallClock;
        AIPipeline::Steps steps;
        AIEstimator estimator;
        /// Keeps the machine awake for as long as the token lives.
        std::function<std::shared_ptr<void>(const QString& reason)> beginActivity;
        ai::StepContext::Discard discard;
    };

    explicit AIQueue(Parts parts);
    ~AIQueue();
    AIQueue(const AIQueue&) = delete;
    AIQueue& operator=(const AIQueue&) = delete;

    /// Which tools a job uses, asked at its start.
    std::function<ai::AITools()> tools = ai::AITools::current;
    std::function<void(const std::filesystem::path& folder)> onChange; ///< something about this folder has changed
    std::function<void(const ai::AIRequest& request, const std::optional<ai::AIFailure>& failure)> onFinished;
    /// While true no further job starts; those that wait stay.
    bool hold = false;

    /// Appends the job. One that waits for the same folder is widened instead, in its place; while one runs for it
    /// nothing happens.
    void enqueue(const ai::AIRequest& request);
    /// Stops the running job's child process; the job then ends in the usual way, but counts for nothing.
    void cancelRunning();

    [[nodiscard]] std::optional<ai::AIStatus> status(const std::filesystem::path& folder) const;
    /// Estimated seconds left of the running step, negative when it takes longer; `now` on the host clock. nullopt
    /// unless the folder's job runs and an estimate is there.
    [[nodiscard]] std::optional<double> remaining(const std::filesystem::path& folder, double now) const;
    [[nodiscard]] std::optional<std::pair<std::filesystem::path, ai::AIStatus>> runningStatus() const;

    [[nodiscard]] bool busy() const { return m_running.has_value(); }

    /// Whether a job runs or one would start.
    [[nodiscard]] bool hasWork() const { return busy() || (!m_pending.empty() && !hold); }

    [[nodiscard]] std::size_t waiting() const { return m_pending.size(); }

    /// The identity of a folder.
    [[nodiscard]] static std::filesystem::path key(const std::filesystem::path& folder);

private:
    void next();
    void startOnWorker(const ai::AIRequest& request);
    void setStep(std::optional<ai::AIStatus> step);
    void stepChanged();
    void progressed(const ai::AIRequest& request, const ai::AIStatus& status);
    void ended(const ai::AIRequest& request, const std::optional<ai::AIFailure>& failure);
    void keepOutcome(const ai::AIRequest& request, const std::optional<ai::AIFailure>& failure);
    void changed(const std::filesystem::path& folder) const;
    [[nodiscard]] bool runs(const std::filesystem::path& folder) const;

    Parts m_parts;
    std::deque<ai::AIRequest> m_pending;
    std::optional<ai::AIRequest> m_running;
    std::optional<ai::AIStatus> m_step;                       ///< of the running job
    std::optional<double> m_stepStarted;                      ///< on the host clock
    std::optional<double> m_stepEstimate;                     ///< seconds
    std::map<std::filesystem::path, ai::AIStatus> m_failures; ///< by key
    std::shared_ptr<ai::ProcessRunner> m_runner;
    std::shared_ptr<void> m_activity;
    std::shared_ptr<const bool> m_alive = std::make_shared<const bool>(true); ///< what comes back late looks here first
    std::shared_ptr<base::Scheduler> m_worker; ///< last: its end waits for the running job
};

} // namespace jobs
