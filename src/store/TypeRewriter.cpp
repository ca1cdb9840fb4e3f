#include "store/TypeRewriter.h"

#include "store/MeetingLibrary.h"
#include "store/TypeRewrite.h"

#include <utility>

namespace store {

TypeRewriter::TypeRewriter(base::Dispatch& dispatch, const base::HostClock& clock)
    : m_dispatch(dispatch)
    , m_clock(clock) {}

void TypeRewriter::add(TypeRename rename, Handlers handlers) {
    auto& job = m_jobs.emplace_back();
    job.rename = std::move(rename);
    job.handlers = std::move(handlers);
    beginNext();
}

void TypeRewriter::finish() {
    m_ticket = std::make_shared<const Ticket>();
    const std::weak_ptr alive = m_ticket;
    while (!alive.expired() && running()) {
        auto& job = m_jobs.front();
        if (!job.listed) {
            job.meetings = TypeRewrite::meetings(job.rename);
        }
        while (job.done < job.meetings.size()) {
            rewriteNext(job);
        }
        finishJob();
    }
    if (!alive.expired()) {
        m_ticket = std::make_shared<const Ticket>(); // a handler may have added a change, whose listing began
    }
}

void TypeRewriter::beginNext() {
    if (!running() || std::exchange(m_jobs.front().begun, true)) {
        return;
    }
    auto list = [this, ticket = std::weak_ptr(m_ticket), &main = m_dispatch.main(), rename = m_jobs.front().rename] {
        auto meetings = std::make_shared<std::vector<MeetingRecord>>(TypeRewrite::meetings(rename));
        main.post([this, ticket, meetings] {
            if (!ticket.expired()) {
                m_jobs.front().meetings = std::move(*meetings);
                m_jobs.front().listed = true;
                runSlice();
            }
        });
    };
    m_dispatch.background(base::Priority::Utility, std::move(list));
}

void TypeRewriter::runSlice() {
    auto& job = m_jobs.front();
    const auto total = job.meetings.size();
    const double begin = m_clock.now();
    while (job.done < total) {
        rewriteNext(job);
        if (m_clock.now() - begin >= sliceSeconds) {
            break;
        }
    }
    const bool through = job.done == total;
    const std::weak_ptr alive = m_ticket;
    if (const auto told = job.handlers.onProgress) {
        told(job.done, total);
    }
    if (alive.expired()) {
        return;
    }
    if (!through) {
        scheduleSlice();
        return;
    }
    finishJob();
    if (!alive.expired()) {
        beginNext();
    }
}

void TypeRewriter::scheduleSlice() {
    m_dispatch.main().after(pauseSeconds, [this, ticket = std::weak_ptr(m_ticket)] {
        if (!ticket.expired()) {
            runSlice();
        }
    });
}

void TypeRewriter::rewriteNext(Job& job) {
    const auto& meeting = job.meetings[job.done++];
    const auto now = MeetingLibrary::record(meeting.folder);
    const bool taken = now.hasMeta && now.type != job.rename.from;
    if (!taken) {
        TypeRewrite::rewrite(meeting, job.rename, job.change);
    }
}

void TypeRewriter::finishJob() {
    const auto job = std::move(m_jobs.front());
    m_jobs.pop_front();
    if (job.handlers.onFinished) {
        job.handlers.onFinished(job.change);
    }
}

} // namespace store
