#include "jobs/AIQueue.h"

#include "ai/TranscribeStep.h"
#include "base/Files.h"
#include "base/Output.h"
#include "copy/Strings.h"
#include "store/AppPaths.h"
#include "store/MeetingLibrary.h"

#include <algorithm>
#include <exception>

using namespace Qt::StringLiterals;

namespace jobs {
namespace {

using ai::AIFailure;
using ai::AIRequest;
using ai::AIStatus;
using ai::AIStep;

void printAbout(const QString& what, const std::filesystem::path& folder, const QString& more = {}) {
    base::printLine(QString(u"ai: " + what + u' ' + base::nameText(folder) + more));
}

/// The step that a status of a running job stands for.
std::optional<AIStep> stepOf(const AIStatus& status) {
    switch (status.kind()) {
    case AIStatus::Kind::Transcribing:
        return AIStep::Transcribe;
    case AIStatus::Kind::Summarizing:
        return AIStep::Summarize;
    case AIStatus::Kind::Queued:
    case AIStatus::Kind::Failed:
        break;
    }
    return std::nullopt;
}

/// A request can only widen a job that waits, and make it the user's own.
void widen(AIRequest& waiting, const AIRequest& request) {
    if (request.transcribe == AIRequest::Transcribe::Always) {
        waiting.transcribe = AIRequest::Transcribe::Always;
    }
    waiting.automatic = waiting.automatic && request.automatic;
    waiting.summarize = waiting.summarize || request.summarize;
}

/// What a retry asks for: a transcript that was just made anew must not be thrown away because the summary failed.
AIRequest retryOf(AIRequest request, const AIFailure& failure) {
    request.automatic = false;
    if (failure.step == AIStep::Summarize) {
        request.transcribe = AIRequest::Transcribe::IfMissing;
    }
    return request;
}

/// Runs the job, and lets no exception out of the worker.
std::optional<AIFailure> failureOf(const std::function<ai::StepResult()>& job) {
    try {
        const auto result = job();
        return result ? std::nullopt : std::optional(result.error());
    } catch (const std::exception& error) {
        return AIFailure{AIStep::Summarize, QString::fromLocal8Bit(error.what())};
    }
}

} // namespace

AIQueue::AIQueue(Parts parts)
    : m_parts(std::move(parts))
    , m_worker(m_parts.dispatch.makeSerialQueue(workerLabel, base::Priority::Utility)) {}

AIQueue::~AIQueue() {
    cancelRunning();
}

std::filesystem::path AIQueue::key(const std::filesystem::path& folder) {
    return base::standardized(folder);
}

bool AIQueue::runs(const std::filesystem::path& folder) const {
    return m_running && key(m_running->folder) == key(folder);
}

void AIQueue::changed(const std::filesystem::path& folder) const {
    if (onChange) {
        onChange(folder);
    }
}

void AIQueue::enqueue(const AIRequest& request) {
    if (runs(request.folder)) {
        return;
    }
    const auto id = key(request.folder);
    const auto same = std::ranges::find(m_pending, id, [](const auto& each) { return key(each.folder); });
    if (same != m_pending.end()) {
        widen(*same, request);
        return;
    }
    m_failures.erase(id);
    m_pending.push_back(request);
    changed(request.folder);
    next();
}

void AIQueue::next() {
    if (m_running || hold || m_pending.empty()) {
        return;
    }
    const AIRequest request = std::move(m_pending.front());
    m_pending.pop_front();
    m_running = request;
    setStep(ai::AIPipeline::needsTranscription(request) ? AIStatus::transcribing() : AIStatus::summarizing());
    m_runner = std::make_shared<ai::ProcessRunner>();
    if (!m_activity) {
        m_activity = m_parts.beginActivity(activityReason);
    }
    startOnWorker(request);
}

void AIQueue::startOnWorker(const AIRequest& request) {
    const auto onMain = [&main = m_parts.dispatch.main(), alive = std::weak_ptr(m_alive)](base::Task task) {
        main.post([alive, task = std::move(task)] {
            if (!alive.expired()) {
                task();
            }
        });
    };
    const AIPipeline::Hooks hooks{
        .clock = m_parts.clock,
        .timed =
            [this, onMain, folder = request.folder](AIStep step, double seconds) {
                onMain([this, folder, step, seconds] {
                    m_parts.estimator.record(step, store::MeetingLibrary::record(folder), seconds);
                });
            },
        .progress = [this, onMain, request](
                        const AIStatus& status) { onMain([this, request, status] { progressed(request, status); }); },
    };
    const auto toolsNow = tools();
    printAbout(u"start"_s, request.folder);
    changed(request.folder);
    m_worker->post([this, onMain, request, hooks, toolsNow, runner = m_runner, steps = m_parts.steps,
                    discard = m_parts.discard, &wallClock = m_parts.wallClock] {
        const ai::StepContext context{.tools = toolsNow,
                                      .runner = *runner,
                                      .workRoot = store::AppPaths::work(),
                                      .clock = wallClock,
                                      .discard = discard,
                                      .automatic = request.automatic};
        const auto failure = failureOf([&] { return AIPipeline::run(request, context, steps, hooks); });
        onMain([this, request, failure] { ended(request, failure); });
    });
}

void AIQueue::setStep(std::optional<AIStatus> step) {
    if (m_step != step) {
        m_step = std::move(step);
        stepChanged();
    }
}

void AIQueue::stepChanged() {
    m_stepStarted.reset();
    m_stepEstimate.reset();
    if (!m_running || !m_step) {
        return;
    }
    m_stepStarted = m_parts.clock.now();
    if (const auto step = stepOf(*m_step)) {
        m_stepEstimate = m_parts.estimator.estimate(*step, store::MeetingLibrary::record(m_running->folder));
    }
}

void AIQueue::progressed(const AIRequest& request, const AIStatus& status) {
    if (m_running != request) {
        return; // late, from a job that has ended
    }
    setStep(status);
    const bool transcribes = status.kind() == AIStatus::Kind::Transcribing;
    printAbout(transcribes ? u"transcribing"_s : u"summarizing"_s, request.folder);
    changed(request.folder);
}

void AIQueue::ended(const AIRequest& request, const std::optional<AIFailure>& failure) {
    m_running.reset();
    setStep(std::nullopt);
    m_runner.reset();
    keepOutcome(request, failure);
    changed(request.folder);
    if (onFinished) {
        onFinished(request, failure);
    }
    next();
    if (!m_running) {
        m_activity.reset();
    }
}

void AIQueue::keepOutcome(const AIRequest& request, const std::optional<AIFailure>& failure) {
    const bool cutOff = failure && failure->message == copy::Strings::aiErrCancelled.toString();
    if (!cutOff) {
        AIPipeline::recordOutcome(request.folder, request.automatic, failure.has_value());
    }
    if (!failure) {
        printAbout(u"done"_s, request.folder);
        return;
    }
    m_failures.insert_or_assign(key(request.folder),
                                AIStatus::failed(failure->step, failure->message, retryOf(request, *failure)));
    printAbout(u"failed"_s, request.folder, u": "_s + failure->message);
}

void AIQueue::cancelRunning() {
    if (m_runner) {
        m_runner->cancel();
    }
}

std::optional<AIStatus> AIQueue::status(const std::filesystem::path& folder) const {
    if (runs(folder)) {
        return m_step.value_or(AIStatus::queued());
    }
    const auto id = key(folder);
    if (std::ranges::any_of(m_pending, [&](const auto& each) { return key(each.folder) == id; })) {
        return AIStatus::queued();
    }
    const auto failed = m_failures.find(id);
    return failed != m_failures.end() ? std::optional(failed->second) : std::nullopt;
}

std::optional<double> AIQueue::remaining(const std::filesystem::path& folder, double now) const {
    if (!runs(folder) || !m_stepStarted || !m_stepEstimate) {
        return std::nullopt;
    }
    return *m_stepEstimate - (now - *m_stepStarted);
}

std::optional<std::pair<std::filesystem::path, AIStatus>> AIQueue::runningStatus() const {
    if (!m_running) {
        return std::nullopt;
    }
    return std::pair(m_running->folder, m_step.value_or(AIStatus::queued()));
}

} // namespace jobs
