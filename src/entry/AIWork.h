// Joins the queue of AI work to the program: what is asked for after a recording and at a launch, and what a quit has
// to know about it.
//   Threads  the main thread; the listing of all meetings runs in the background and comes back to it
//   Errors   none: what can't be done for want of a tool is left for a later launch
//   Owns     the queue and what it learns; all it is given outlives it
#pragma once

#include "ai/AITools.h"
#include "base/Dispatch.h"
#include "base/HostClock.h"
#include "base/PreferenceStore.h"
#include "base/WallClock.h"
#include "entry/AppSeams.h"
#include "entry/KeepAwake.h"
#include "jobs/AIQueue.h"
#include "store/MeetingLibrary.h"

#include <QString>

#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

namespace entry {

class AIWork {
public:
    struct Services {
        base::Dispatch& dispatch;
        const base::HostClock& hostClock;
        const base::WallClock& wallClock;
        base::PreferenceStore& defaults;
        KeepAwake& keepAwake;
        jobs::AIPipeline::Steps steps = jobs::AIPipeline::Steps::real();
        /// Which tools there are, asked anew each time.
        std::function<ai::AITools()> tools = ai::AITools::current;
    };

    explicit AIWork(const Services& services);
    ~AIWork();

    /// What the controller asks of AI work. `pendingFolders`: recordings that still wait for their answers.
    void connect(AppSeams& seams, std::function<store::MeetingLibrary::FolderSet()> pendingFolders);
    /// Queues what a finished recording is due, if the user has it done automatically and the tools for it are there.
    void autoGenerate(const std::filesystem::path& folder);
    /// Queues what an earlier run of the program left undone, leaving out the folders in `skipping`.
    void resumeQueue(const store::MeetingLibrary::FolderSet& skipping);

    [[nodiscard]] jobs::AIQueue& queue() { return m_queue; }

    /// Something about the AI work on a folder has changed.
    std::function<void(const std::filesystem::path& folder)> onChange;
    /// A job has ended, well or not.
    std::function<void()> onFinished;

private:
    [[nodiscard]] bool isAutomatic() const;
    void enqueueResumed(const std::vector<ai::AIRequest>& requests);

    Services m_services;
    jobs::AIQueue m_queue;
    std::shared_ptr<const bool> m_alive = std::make_shared<const bool>(true); ///< what comes back late looks here first
};

} // namespace entry
