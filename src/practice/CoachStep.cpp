#include "practice/CoachStep.h"

#include "ai/ClaudeReply.h"
#include "ai/MeetingContent.h"
#include "ai/Stamp.h"
#include "ai/StoredObject.h"
#include "base/Text.h"
#include "copy/Strings.h"
#include "copy/UserName.h"
#include "practice/CoachPrompt.h"
#include "practice/PitchAnalyzer.h"
#include "practice/PracticeCoach.h"
#include "store/MeetingLibrary.h"

#include <utility>

namespace practice::AIPipeline {

using namespace Qt::StringLiterals;
using base::Json;
namespace Strings = copy::Strings;

namespace {

std::unexpected<ai::AIFailure> failure(const QString& message) {
    return std::unexpected(ai::AIFailure{ai::AIStep::Summarize, message});
}

/// The pitch that an earlier run measured; nullopt if there is none.
std::optional<PitchStats> storedPitch(const store::MeetingRecord& record) {
    const auto state = MeetingContent::coach(record);
    const PracticeCoach* coach = state.value();
    return coach != nullptr && coach->stats ? coach->stats->pitch : std::nullopt;
}

std::vector<ai::Transcript::Segment> segmentsOf(const store::MeetingRecord& record) {
    const auto state = ai::MeetingContent::transcript(record);
    return state.value() != nullptr ? state.value()->segments : std::vector<ai::Transcript::Segment>();
}

std::optional<double> previousPitch(const store::MeetingRecord& record,
                                    const std::vector<ai::Transcript::Segment>& segments) {
    auto pitch = storedPitch(record);
    if (!pitch || !pitch->enough()) {
        pitch = PitchAnalyzer::analyze(record.micURL(), segments);
    }
    return pitch && pitch->enough() ? pitch->semitoneSD : std::nullopt;
}

std::optional<PracticeStats> statsOf(const store::MeetingRecord& record,
                                     const std::vector<ai::Transcript::Segment>& segments) {
    if (!segments.empty()) {
        return PracticeStats::compute(segments, std::nullopt);
    }
    const auto state = MeetingContent::coach(record);
    return state.value() != nullptr ? state.value()->stats : std::nullopt;
}

bool isEarlierPractice(const store::MeetingRecord& record, const store::MeetingRecord& than) {
    if (!record.practice || base::standardized(record.folder) == base::standardized(than.folder)) {
        return false;
    }
    // A record without a start stands in the far future: never before another one, always after one that has a start.
    return record.start && (!than.start || *record.start < *than.start);
}

} // namespace

std::optional<PracticeStats::Previous> previousPractice(const store::MeetingRecord& before, WithPitch pitch) {
    for (const auto& record : store::MeetingLibrary::load(before.folder.parent_path())) {
        if (!isEarlierPractice(record, before)) {
            continue;
        }
        const auto segments = segmentsOf(record);
        const auto stats = statsOf(record, segments);
        if (!stats || !(stats->spokenSeconds > 0)) {
            continue;
        }
        return PracticeStats::Previous{
            .folder = base::nameText(record.folder),
            .start = record.start,
            .wordsPerMinute = stats->wordsPerMinute,
            .fillersPerMinute = stats->fillersPerMinute,
            .longPauses = stats->longPauses,
            .pitchSemitoneSD = pitch == WithPitch::Yes ? previousPitch(record, segments) : std::nullopt,
        };
    }
    return std::nullopt;
}

PracticeStats practiceStats(const store::MeetingRecord& record, const ai::Transcript& transcript, WithPitch pitch) {
    PracticeStats stats = PracticeStats::compute(transcript.segments, previousPractice(record, pitch));
    if (pitch == WithPitch::Yes) {
        stats.pitch = PitchAnalyzer::analyze(record.micURL(), transcript.segments);
        if (!stats.pitch) {
            stats.pitch = storedPitch(record);
        }
    }
    return stats;
}

ai::StepResult coach(const std::filesystem::path& folder, const ai::StepContext& context) {
    const auto record = store::MeetingLibrary::record(folder);
    const auto state = ai::MeetingContent::transcript(record);
    const ai::Transcript* transcript = state.value();
    if (transcript == nullptr || transcript->segments.empty()) {
        return failure(Strings::aiNeedTranscript);
    }
    if (!context.tools.claudeFound()) {
        return failure(Strings::aiErrMissing(base::pathText(context.tools.claude)));
    }
    const PracticeStats stats = practiceStats(record, *transcript, WithPitch::Yes);
    const QString notes = store::MeetingLibrary::readNotes(record);
    const QTimeZone zone = context.clock.timeZone();
    const QString question = coachPrompt({.title = record.note,
                                          .stats = stats,
                                          .transcript = transcript->merged(coachMergeGap),
                                          .notes = notes,
                                          .name = copy::UserName::current(),
                                          .language = copy::AILanguage::current(),
                                          .calendar = {zone}});
    const auto reply = ai::AIPipeline::askClaude(question, coachArguments(), context);
    if (!reply) {
        return std::unexpected(reply.error());
    }
    const auto stampOf = [&](const QDateTime& date) { return ai::AIPipeline::stamp(date, context.clock); };
    const CoachStamps stamps{stampOf(context.clock.now()), transcript->generatedAt.transform(stampOf), zone};
    const auto object =
        coachObject(*reply, stats, base::Text::trimmed(notes).isEmpty() ? Notes::None : Notes::Given, stamps);
    if (!object) {
        return std::unexpected(object.error());
    }
    return ai::AIPipeline::write(*object, record.coachURL(), context);
}

} // namespace practice::AIPipeline
