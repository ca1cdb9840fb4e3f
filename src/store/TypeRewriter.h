// Lets the meetings follow changes of the list of types while the window stays alive.
//   Order    one change after the other, as they were added; within a change as TypeRewrite walks
//   Work     the meetings are listed in the background and rewritten on the main thread, where the user's own edits are
//            made, so that neither can overwrite the other; a slice of writing ends after `sliceSeconds`, and the main
//            thread is free in between
//   Meeting  one that got another type by the user's hand since it was listed is left alone
//   Threads  the main thread
//   Owns     its changes: what is left of them when it is destroyed is dropped; finish() first
#pragma once

#include "base/Dispatch.h"
#include "base/HostClock.h"
#include "store/MeetingRecord.h"
#include "store/TypeRename.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

namespace store {

class TypeRewriter {
public:
    static constexpr double sliceSeconds = 0.008; ///< half a frame: the window still draws in time
    static constexpr double pauseSeconds = 0.001; ///< input waits in the event loop's queue; give it its turn

    /// Either may be empty. Called on the main thread; either may destroy the rewriter.
    struct Handlers {
        std::function<void(std::size_t done, std::size_t total)> onProgress; ///< after each slice
        std::function<void(TypeChange)> onFinished;
    };

    /// Both must outlive it.
    TypeRewriter(base::Dispatch& dispatch, const base::HostClock& clock);
    TypeRewriter(const TypeRewriter&) = delete;
    TypeRewriter& operator=(const TypeRewriter&) = delete;

    void add(TypeRename rename, Handlers handlers);

    [[nodiscard]] bool running() const { return !m_jobs.empty(); }

    /// Does all that is left before it returns, for a program that is about to end.
    void finish();

private:
    struct Ticket {};

    struct Job {
        TypeRename rename;
        Handlers handlers;
        bool begun = false;
        bool listed = false;
        std::vector<MeetingRecord> meetings;
        std::size_t done = 0;
        TypeChange change;
    };

    void beginNext();
    void runSlice();
    void scheduleSlice();
    static void rewriteNext(Job& job);
    void finishJob();

    base::Dispatch& m_dispatch;
    const base::HostClock& m_clock;
    std::deque<Job> m_jobs;
    /// Delayed tasks hold it weakly: they are void once it was replaced, or destroyed with the rewriter.
    std::shared_ptr<const Ticket> m_ticket = std::make_shared<const Ticket>();
};

} // namespace store
