#include "practice/CoachPrompt.h"

#include "base/Text.h"
#include "copy/Prompts.h"
#include "copy/Strings.h"

namespace practice::AIPipeline {

using namespace Qt::StringLiterals;
namespace Strings = copy::Strings;

namespace {

QString orNone(const QString& text) {
    return text.isEmpty() ? Strings::coachPromptNone.toString() : text;
}

QString signedChange(double change) {
    const QString text = base::Text::oneDecimal(change);
    return change > 0 ? QString(u'+' + text) : text;
}

QString pausesLine(const PracticeStats& stats) {
    if (!stats.longestPauseSeconds || !stats.longestPauseAt) {
        return Strings::coachPromptNoPauses;
    }
    return Strings::coachPromptPauses(stats.longPauses, *stats.longestPauseSeconds,
                                      Strings::clock(*stats.longestPauseAt));
}

QStringList previousLines(const PracticeStats& stats, const copy::MeetingText::Calendar& calendar) {
    if (!stats.previous) {
        return {Strings::coachPromptNoPrevious};
    }
    const PracticeStats::Previous& previous = *stats.previous;
    const QString when =
        previous.start ? copy::MeetingText::sideDetail(previous.start, std::nullopt, calendar) : previous.folder;
    QStringList lines{
        Strings::coachPromptPrevious(when, previous.wordsPerMinute, previous.fillersPerMinute, previous.longPauses)};
    if (const auto change = stats.pitchChange()) {
        lines.append(Strings::coachPromptPitchPrevious(signedChange(*change), *previous.pitchSemitoneSD));
    }
    return lines;
}

QString flattestLine(const PitchStats::Flattest& flattest) {
    const QString start = Strings::clock(flattest.start);
    const QString end = Strings::clock(flattest.end);
    const QString level = levelText(PitchStats::level(flattest.semitoneSD));
    if (!flattest.sentence) {
        return Strings::coachPromptPitchFlattestNoSentence(start, end, flattest.semitoneSD, level);
    }
    const QString saidAt = Strings::clock(flattest.sentenceStart.value_or(flattest.start));
    return Strings::coachPromptPitchFlattest(start, end, flattest.semitoneSD, level, saidAt, *flattest.sentence);
}

} // namespace

QStringList pitchLines(const std::optional<PitchStats>& pitch) {
    if (!pitch) {
        return {Strings::coachPromptPitchMissing};
    }
    if (!pitch->enough()) {
        return {Strings::coachPromptPitchNotEnough(pitch->voicedSeconds, PitchStats::minVoicedSeconds)};
    }
    // A file edited by hand may lack the range and still have a deviation.
    QStringList lines{Strings::coachPromptPitch(pitch->levelText(), *pitch->semitoneSD,
                                                pitch->rangeSemitones.value_or(0), pitch->voicedSeconds,
                                                PitchStats::flatBelow, PitchStats::livelyFrom)};
    if (pitch->flattest) {
        lines.append(flattestLine(*pitch->flattest));
    }
    return lines;
}

QStringList statsLines(const PracticeStats& stats, const copy::MeetingText::Calendar& calendar) {
    QStringList lines{
        Strings::coachPromptSpoken(Strings::duration(stats.spokenSeconds), stats.words),
        Strings::coachPromptRate(stats.wordsPerMinute, stats.firstHalfWordsPerMinute, stats.secondHalfWordsPerMinute),
        pausesLine(stats),
        Strings::coachPromptFillers(stats.fillerCount, stats.fillersPerMinute,
                                    stats.fillerCount == 0 ? Strings::coachPromptNone.toString() : stats.fillerList()),
    };
    lines += pitchLines(stats.pitch);
    lines += previousLines(stats, calendar);
    return lines;
}

QString coachPrompt(const CoachPrompt& parts) {
    QStringList lines{
        Strings::coachPromptRules(parts.name, parts.language),
        QString(),
        Strings::coachPromptTitle + orNone(parts.title.value_or(QString())),
        QString(),
        Strings::coachPromptNumbers,
    };
    lines += statsLines(parts.stats, parts.calendar);
    lines.append({QString(), Strings::coachPromptTranscript});
    for (const ai::Transcript::Segment& segment : parts.transcript) {
        lines.append(Strings::clock(segment.start) + u' ' + segment.text);
    }
    lines.append({QString(), Strings::coachPromptNotes, orNone(base::Text::trimmed(parts.notes))});
    return lines.join(u'\n');
}

} // namespace practice::AIPipeline
