#include "entry/AIWork.h"

#include "ai/StoredObject.h"
#include "ai/TranscribeStep.h"
#include "base/Environment.h"
#include "base/Output.h"
#include "entry/AppDelegate.h"
#include "store/AppPaths.h"
#include "store/MeetingLibrary.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace entry {

namespace fs = std::filesystem;
using namespace Qt::StringLiterals;

namespace {

/// Whether a job could run to its end now: without a transcript it takes both tools.
bool toolsSuffice(const ai::AITools& tools, const fs::path& folder) {
    return tools.claudeFound() &&
           (tools.whisperFound() || ai::AIPipeline::hasTranscript(store::MeetingLibrary::record(folder)));
}

} // namespace

AIWork::AIWork(const Services& services)
    : m_services(services)
    , m_queue({
          .dispatch = services.dispatch,
          .clock = services.hostClock,
          .wallClock = services.wallClock,
          .steps = services.steps,
          .estimator = jobs::AIEstimator(services.defaults),
          .beginActivity = [&keepAwake = services.keepAwake](const QString& reason) -> std::shared_ptr<void> {
              return std::shared_ptr<KeepAwake::Token>(keepAwake.hold(reason));
          },
          .discard = ai::AIPipeline::trash(services.wallClock),
      }) {
    m_queue.tools = services.tools;
    m_queue.onChange = [this](const fs::path& folder) {
        if (onChange) {
            onChange(folder);
        }
    };
    m_queue.onFinished = [this](const ai::AIRequest&, const std::optional<ai::AIFailure>&) {
        if (onFinished) {
            onFinished();
        }
    };
}

AIWork::~AIWork() = default;

void AIWork::connect(AppSeams& seams, std::function<store::MeetingLibrary::FolderSet()> pendingFolders) {
    seams.ai.busy = [this] { return m_queue.busy(); };
    seams.ai.hasWork = [this] { return m_queue.hasWork(); };
    seams.ai.summarizing = [this] {
        const auto running = m_queue.runningStatus();
        return running && running->second.kind() == ai::AIStatus::Kind::Summarizing;
    };
    seams.ai.holdFurther = [this] { m_queue.hold = true; };
    seams.ai.cancelRunning = [this] { m_queue.cancelRunning(); };
    seams.autoGenerate = [this](const fs::path& folder) { autoGenerate(folder); };
    seams.resumeQueue = [this, pending = std::move(pendingFolders)] { resumeQueue(pending()); };
}

bool AIWork::isAutomatic() const {
    return m_services.defaults.boolean(AppDelegate::autoSummaryKey.toString(), true);
}

void AIWork::autoGenerate(const fs::path& folder) {
    if (!isAutomatic()) {
        return;
    }
    const auto request = jobs::AIPipeline::autoRequest(folder);
    if (!request) {
        return;
    }
    if (toolsSuffice(m_services.tools(), folder)) {
        m_queue.enqueue(*request);
    } else {
        base::printLine(QString(u"ai: skipped "_s + base::nameText(folder) + u", whisper or claude not found"_s));
    }
}

void AIWork::resumeQueue(const store::MeetingLibrary::FolderSet& skipping) {
    const bool wanted = !base::Environment::testMode() || base::Environment::testFlag("TARVEX_AI_RESUME");
    if (!isAutomatic() || !wanted) {
        return;
    }
    // Years of meetings are looked through; the window does not wait for that.
    m_services.dispatch.background(
        base::Priority::Utility, [&dispatch = m_services.dispatch, tools = m_services.tools(),
                                  now = m_services.wallClock.now(), skipping, alive = std::weak_ptr(m_alive), this] {
            auto requests = jobs::AIPipeline::resumeRequests(store::AppPaths::meetings(), now, skipping);
            std::erase_if(requests,
                          [&tools](const ai::AIRequest& request) { return !toolsSuffice(tools, request.folder); });
            dispatch.main().post([requests = std::move(requests), alive, this] {
                if (alive.lock()) {
                    enqueueResumed(requests);
                }
            });
        });
}

void AIWork::enqueueResumed(const std::vector<ai::AIRequest>& requests) {
    for (const ai::AIRequest& request : requests) {
        base::printLine(QString(u"ai: resume "_s + base::nameText(request.folder)));
        m_queue.enqueue(request);
    }
}

} // namespace entry
