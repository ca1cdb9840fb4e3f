#include "jobs/AIPipeline.h"

#include "ai/SummaryStep.h"
#include "ai/TranscribeStep.h"
#include "base/Files.h"
#include "base/Text.h"
#include "practice/CoachStep.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <ranges>
#include <utility>

namespace jobs::AIPipeline {
namespace {

constexpr std::int64_t markerLimit = 4096;

bool isThere(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

ai::AIRequest automaticRequest(const std::filesystem::path& folder) {
    return {.folder = folder, .transcribe = ai::AIRequest::Transcribe::IfMissing, .summarize = true, .automatic = true};
}

/// Runs one step and tells how long it took, if it succeeded.
ai::StepResult timedStep(ai::AIStep step, const Steps::Step& body, const ai::AIRequest& request,
                         const ai::StepContext& context, const Hooks& hooks) {
    const double begun = hooks.clock.now();
    auto result = body(request.folder, context);
    if (result) {
        hooks.timed(step, hooks.clock.now() - begun);
    }
    return result;
}

std::int64_t failedRuns(const std::filesystem::path& file) {
    bool isNumber = false;
    const auto count = base::Text::trimmed(base::readText(file, markerLimit).value_or(QString())).toLongLong(&isNumber);
    return isNumber ? std::min<std::int64_t>(count, std::numeric_limits<std::int64_t>::max() - 1) : 0;
}

/// The moment by which a meeting's age counts: its end, or the start of one that was cut off but has notes.
std::optional<QDateTime> resumeDate(const store::MeetingRecord& record) {
    if (auto end = store::MeetingLibrary::endDate(record.folder)) {
        return end;
    }
    return isThere(record.notesURL()) ? record.start : std::nullopt;
}

bool isRecent(const QDateTime& date, const QDateTime& now) {
    const double age = static_cast<double>(date.msecsTo(now)) / 1000.0;
    return age <= resumeAge && age >= -resumeFuture;
}

bool isUndone(const store::MeetingRecord& record) {
    if (isThere(aiOutputURL(record)) || isThere(record.folder / cancelledMarker)) {
        return false;
    }
    return isThere(record.micURL()) || isThere(record.systemURL()) || ai::AIPipeline::hasTranscript(record);
}

} // namespace

Steps Steps::real() {
    return {.transcribe = ai::AIPipeline::transcribe,
            .summarize = ai::AIPipeline::summarize,
            .coach = practice::AIPipeline::coach};
}

std::filesystem::path aiOutputURL(const store::MeetingRecord& record) {
    return record.practice ? record.coachURL() : record.summaryURL();
}

ai::StepResult run(const ai::AIRequest& request, const ai::StepContext& context, const Steps& steps,
                   const Hooks& hooks) {
    const auto record = store::MeetingLibrary::record(request.folder);
    if (request.automatic && request.summarize && isThere(aiOutputURL(record))) {
        return {};
    }
    if (ai::AIPipeline::needsTranscription(request)) {
        hooks.progress(ai::AIStatus::transcribing());
        if (auto done = timedStep(ai::AIStep::Transcribe, steps.transcribe, request, context, hooks); !done) {
            return done;
        }
    }
    if (!request.summarize) {
        return {};
    }
    hooks.progress(ai::AIStatus::summarizing());
    const auto& second = record.practice ? steps.coach : steps.summarize;
    return timedStep(ai::AIStep::Summarize, second, request, context, hooks);
}

std::optional<ai::AIRequest> autoRequest(const std::filesystem::path& folder) {
    if (isThere(aiOutputURL(store::MeetingLibrary::record(folder)))) {
        return std::nullopt;
    }
    return automaticRequest(folder);
}

std::vector<ai::AIRequest> resumeRequests(const std::filesystem::path& meetings, const QDateTime& now,
                                          const QSet<QString>& skipping) {
    std::vector<std::pair<QDateTime, ai::AIRequest>> dated;
    for (const auto& record : store::MeetingLibrary::load(meetings, skipping)) {
        const auto date = resumeDate(record);
        if (date && isRecent(*date, now) && isUndone(record)) {
            dated.emplace_back(*date, automaticRequest(record.folder));
        }
    }
    std::ranges::stable_sort(dated, {}, &std::pair<QDateTime, ai::AIRequest>::first);
    std::vector<ai::AIRequest> requests;
    requests.reserve(dated.size());
    std::ranges::copy(dated | std::views::values, std::back_inserter(requests));
    return requests;
}

void recordOutcome(const std::filesystem::path& folder, bool automatic, bool failed) {
    const auto failures = folder / failuresFile;
    const auto cancelled = folder / cancelledMarker;
    if (!failed) {
        std::error_code ignored;
        std::filesystem::remove(failures, ignored);
        std::filesystem::remove(cancelled, ignored);
        return;
    }
    if (!automatic) {
        return;
    }
    const auto count = failedRuns(failures) + 1;
    [[maybe_unused]] const auto counted = base::replaceFile(failures, QByteArray::number(qlonglong{count}) + '\n');
    if (count >= automaticTries) {
        [[maybe_unused]] const auto marked = base::replaceFile(cancelled, {});
    }
}

} // namespace jobs::AIPipeline
