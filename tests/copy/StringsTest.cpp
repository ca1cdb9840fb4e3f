#include "copy/Strings.h"

#include "copy/CopyField.h"
#include "copy/EnvironmentValue.h"
#include "copy/ExpectedTexts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

using namespace Qt::StringLiterals;
namespace Strings = copy::Strings;

namespace {

std::vector<copy::CopyField> allStrings() {
#define TEXT(name) {u"" #name, Strings::name}
    return {
        TEXT(appName),
        TEXT(statusIdle),
        TEXT(statusStarting),
        TEXT(statusRecording),
        TEXT(statusStopping),
        TEXT(statusPracticing),
        TEXT(mainStarting),
        TEXT(mainStopping),
        TEXT(micStillOpening),
        TEXT(statusSaved),
        TEXT(menuStart),
        TEXT(menuStop),
        TEXT(menuStartPractice),
        TEXT(menuStopPractice),
        TEXT(menuShot),
        TEXT(menuOpenAll),
        TEXT(menuQuit),
        TEXT(menuOpenWindow),
        TEXT(menuRecording),
        TEXT(menuGo),
        TEXT(menuFind),
        TEXT(appMenuQuit),
        TEXT(appMenuHide),
        TEXT(editMenu),
        TEXT(editUndo),
        TEXT(editRedo),
        TEXT(editCut),
        TEXT(editCopy),
        TEXT(editPaste),
        TEXT(editSelectAll),
        TEXT(windowMenu),
        TEXT(windowClose),
        TEXT(windowMinimize),
        TEXT(menuOpenLatest),
        TEXT(meterMine),
        TEXT(meterTheirs),
        TEXT(notifySaved),
        TEXT(speakerMe),
        TEXT(speakerThem),
        TEXT(notifyStarted),
        TEXT(notifyPracticeStarted),
        TEXT(noDisplay),
        TEXT(noMicrophone),
        TEXT(noScreenCapture),
        TEXT(micFailed),
        TEXT(micTimeoutReason),
        TEXT(systemAudioFailed),
        TEXT(systemAudioStopped),
        TEXT(systemAudioTimeout),
        TEXT(noScreenCaptureMicOnly),
        TEXT(noDisplayMicOnly),
        TEXT(warnMicSilent),
        TEXT(warnSystemSilent),
        TEXT(warnMicWrite),
        TEXT(warnSystemWrite),
        TEXT(shotFailed),
        TEXT(folderFailed),
        TEXT(metaWriteFailed),
        TEXT(lockWriteFailed),
        TEXT(convertFailed),
        TEXT(noMetaShort),
        TEXT(formTitle),
        TEXT(formHeader),
        TEXT(formType),
        TEXT(formPeople),
        TEXT(formNewName),
        TEXT(formAdd),
        TEXT(formNote),
        TEXT(formSkip),
        TEXT(formSave),
        TEXT(peopleMore),
        TEXT(chipAddPeople),
        TEXT(peopleAdd),
        TEXT(peopleNewName),
        TEXT(formSubtitle),
        TEXT(formPeopleEmpty),
        TEXT(formNotePlaceholder),
        TEXT(peopleBroken),
        TEXT(peopleWriteFailed),
        TEXT(peopleListEmpty),
        TEXT(permMic),
        TEXT(permScreen),
        TEXT(permOK),
        TEXT(permMissing),
        TEXT(permFix),
        TEXT(untitled),
        TEXT(mainDelete),
        TEXT(mainSectionInfo),
        TEXT(mainType),
        TEXT(mainTypeNone),
        TEXT(mainPeople),
        TEXT(mainStartTime),
        TEXT(mainDuration),
        TEXT(mainUnknown),
        TEXT(mainSectionAudio),
        TEXT(mainMic),
        TEXT(mainSystem),
        TEXT(mainPlay),
        TEXT(mainPause),
        TEXT(mainSectionShots),
        TEXT(mainShotAt),
        TEXT(mainShotPrev),
        TEXT(mainShotNext),
        TEXT(mainSectionNotes),
        TEXT(mainDeleteConfirm),
        TEXT(mainCancel),
        TEXT(mainDeleteFailed),
        TEXT(navAll),
        TEXT(untitledMeeting),
        TEXT(practiceFolder),
        TEXT(practiceBadge),
        TEXT(untitledPractice),
        TEXT(mainSearch),
        TEXT(mainEmpty),
        TEXT(mainNoMatch),
        TEXT(mainPickOne),
        TEXT(mainTitlePlaceholder),
        TEXT(mainShowInFinder),
        TEXT(mainPeoplePlaceholder),
        TEXT(mainAudioMissing),
        TEXT(mainAudioBroken),
        TEXT(mainNoShots),
        TEXT(shotsGone),
        TEXT(mainNotesHint),
        TEXT(mainNoMeta),
        TEXT(mainMetaBroken),
        TEXT(mainSaveFailed),
        TEXT(mainDeleteTitle),
        TEXT(mainDeleteInfo),
        TEXT(filterAll),
        TEXT(sideSearch),
        TEXT(sideAddType),
        TEXT(sideSettings),
        TEXT(sideOpenFolder),
        TEXT(uncategorized),
        TEXT(meetingCount),
        TEXT(groupToday),
        TEXT(groupYesterday),
        TEXT(groupThisWeek),
        TEXT(groupMonth),
        TEXT(groupUnknown),
        TEXT(interrupted),
        TEXT(pendingRecording),
        TEXT(pendingForm),
        TEXT(emptyNoneTitle),
        TEXT(rowOpen),
        TEXT(rowChangeType),
        TEXT(prevMeeting),
        TEXT(nextMeeting),
        TEXT(more),
        TEXT(deleteMeeting),
        TEXT(filterPractice),
        TEXT(pendingPracticing),
        TEXT(emptyPracticeTitle),
        TEXT(pendingRecordingSub),
        TEXT(pendingFormSub),
        TEXT(emptyNoneSub),
        TEXT(emptyTypeTitle),
        TEXT(emptyTypeSub),
        TEXT(emptyFindTitle),
        TEXT(emptyFindSub),
        TEXT(titleHint),
        TEXT(pendingAIQueued),
        TEXT(pendingPracticingSub),
        TEXT(emptyPracticeSub),
        TEXT(audioDaysLeft),
        TEXT(audioToday),
        TEXT(audioGone),
        TEXT(audioNone),
        TEXT(aiTitle),
        TEXT(aiGeneratedAt),
        TEXT(aiCopy),
        TEXT(aiCopied),
        TEXT(notesTitle),
        TEXT(aiGenerate),
        TEXT(aiTranscribing),
        TEXT(aiSummarizing),
        TEXT(etaUnderMinute),
        TEXT(etaSeconds),
        TEXT(etaAlmost),
        TEXT(etaRowMinutes),
        TEXT(etaRowUnderMinute),
        TEXT(aiRetry),
        TEXT(aiErrMissing),
        TEXT(sendToAIHint),
        TEXT(sendToAIHintPractice),
        TEXT(sendToAIEmpty),
        TEXT(sendToAITestLine),
        TEXT(aiEmptyTitle),
        TEXT(aiEmptySub),
        TEXT(aiBrokenTitle),
        TEXT(aiBrokenSub),
        TEXT(notesPlaceholder),
        TEXT(aiRegenerateHint),
        TEXT(aiQueued),
        TEXT(etaTranscribing),
        TEXT(etaSummarizing),
        TEXT(etaCoaching),
        TEXT(etaMinutesLeft),
        TEXT(etaMinutes),
        TEXT(aiFailed),
        TEXT(aiStale),
        TEXT(aiReplaceTitle),
        TEXT(aiNeedTranscript),
        TEXT(aiWhisperMissing),
        TEXT(aiClaudeMissing),
        TEXT(aiErrNoAudio),
        TEXT(aiErrAudioGone),
        TEXT(aiErrWhisper),
        TEXT(aiErrWhisperOutput),
        TEXT(aiErrNoSpeech),
        TEXT(aiErrNoSpeechPractice),
        TEXT(aiErrEmptyCoach),
        TEXT(aiErrClaude),
        TEXT(aiErrClaudeOutput),
        TEXT(aiErrEmpty),
        TEXT(aiErrTimeout),
        TEXT(aiErrCancelled),
        TEXT(transcriptTitle),
        TEXT(transcriptExpand),
        TEXT(transcriptCollapse),
        TEXT(transcriptMore),
        TEXT(trackBoth),
        TEXT(trackMine),
        TEXT(trackTheirs),
        TEXT(trackBothMenu),
        TEXT(transcriptMake),
        TEXT(transcriptWorking),
        TEXT(transcriptEmpty),
        TEXT(transcriptBroken),
        TEXT(transcriptQueued),
        TEXT(transcriptFailed),
        TEXT(settingsTitle),
        TEXT(settingsTypes),
        TEXT(settingsRecording),
        TEXT(typeRename),
        TEXT(typeColor),
        TEXT(typeDelete),
        TEXT(typeAddToList),
        TEXT(typeNew),
        TEXT(typeAddTitle),
        TEXT(typeNamePlaceholder),
        TEXT(typeSave),
        TEXT(settingsFound),
        TEXT(settingsMissing),
        TEXT(settingsTypesEmpty),
        TEXT(settingsAutoShots),
        TEXT(settingsAutoShotsDesc),
        TEXT(settingsKeep),
        TEXT(settingsKeepDesc),
        TEXT(settingsDragHint),
        TEXT(typeRenameTitle),
        TEXT(typeDeleteTitle),
        TEXT(typeDeleteInfo),
        TEXT(typeDeleteInfoNone),
        TEXT(typeChangeFailed),
        TEXT(typesBroken),
        TEXT(typeEmptyName),
        TEXT(typeReserved),
        TEXT(typeDuplicate),
        TEXT(typeMissing),
        TEXT(settingsAI),
        TEXT(settingsWhisper),
        TEXT(settingsClaude),
        TEXT(settingsWhisperDesc),
        TEXT(settingsClaudeDesc),
        TEXT(settingsToolMissingDesc),
        TEXT(settingsAuto),
        TEXT(settingsAutoDesc),
        TEXT(coachTitle),
        TEXT(coachGeneratedAt),
        TEXT(coachGenerate),
        TEXT(coachWorking),
        TEXT(coachWentWell),
        TEXT(coachCovered),
        TEXT(coachMissed),
        TEXT(coachRewrites),
        TEXT(coachNotesTitle),
        TEXT(coachRegenerate),
        TEXT(coachEmptyTitle),
        TEXT(coachEmptySub),
        TEXT(coachBrokenTitle),
        TEXT(coachBrokenSub),
        TEXT(coachFocus),
        TEXT(coachCoverage),
        TEXT(coachRewritesNone),
        TEXT(coachNotesPlaceholder),
        TEXT(coachReplaceTitle),
        TEXT(statsTitle),
        TEXT(statsSpoken),
        TEXT(statsSpokenSub),
        TEXT(statsRate),
        TEXT(statsRateValue),
        TEXT(statsFillers),
        TEXT(statsFillersValue),
        TEXT(statsFillersNone),
        TEXT(statsFillerItem),
        TEXT(statsPauses),
        TEXT(statsPausesValue),
        TEXT(statsChange),
        TEXT(statsSame),
        TEXT(statsPitch),
        TEXT(statsPitchSub),
        TEXT(statsPitchNotEnoughSub),
        TEXT(pitchLively),
        TEXT(pitchNormal),
        TEXT(pitchFlat),
        TEXT(pitchNotEnough),
        TEXT(statsRateSub),
        TEXT(statsFillersSub),
        TEXT(statsFillersOpen),
        TEXT(statsPausesSub),
        TEXT(statsPausesNone),
        TEXT(statsWaiting),
        TEXT(statsPitchTip),
        TEXT(keepCardLine),
        TEXT(keepDiscardFailed),
    };
#undef TEXT
}

TEST(Strings, EveryTextIsAsItWasAgreed) {
    auto wanted = expected::rows(u"Strings.tsv"_s);
    wanted.removeIf([](const QStringList& row) { return row.first() == u"weekdays"; });
    const auto texts = allStrings();
    ASSERT_EQ(texts.size(), static_cast<std::size_t>(wanted.size()));
    for (qsizetype index = 0; index < wanted.size(); ++index) {
        const auto& text = texts[static_cast<std::size_t>(index)];
        const QStringList row{text.name, text.text};
        EXPECT_EQ(row, wanted[index]) << row.join(u' ').toStdString();
    }
}

TEST(Strings, WeekdaysBeginWithMonday) {
    const auto wanted = expected::rows(u"Strings.tsv"_s);
    const auto row = std::ranges::find(wanted, u"weekdays"_s, [](const QStringList& texts) { return texts.first(); });
    ASSERT_NE(row, wanted.end());
    EXPECT_EQ(QStringList(Strings::weekdays.begin(), Strings::weekdays.end()), row->mid(1));
    EXPECT_EQ(Strings::weekdays.front(), u"週一"_s);
}

TEST(Strings, AliasesAreTheTextsTheyStandFor) {
    EXPECT_EQ(Strings::mainTitlePlaceholder, Strings::formNotePlaceholder);
    EXPECT_EQ(Strings::peopleListEmpty, Strings::formPeopleEmpty);
}

TEST(Strings, TheMenuTextOfScreenshotsNamesTheirInterval) {
    EXPECT_EQ(Strings::menuAutoShots(30), u"錄音時自動截圖（每 30 秒）"_s);
}

TEST(StringsClock, CutsTheFractionOff) {
    EXPECT_EQ(Strings::clock(59.9), u"00:59"_s);
    EXPECT_EQ(Strings::clock(60), u"01:00"_s);
    EXPECT_EQ(Strings::clock(3599.999), u"59:59"_s);
}

TEST(StringsClock, ShowsHoursFromOneHourOn) {
    EXPECT_EQ(Strings::clock(3599), u"59:59"_s);
    EXPECT_EQ(Strings::clock(3600), u"1:00:00"_s);
    EXPECT_EQ(Strings::clock(3661), u"1:01:01"_s);
    EXPECT_EQ(Strings::clock(36000), u"10:00:00"_s);
    EXPECT_EQ(Strings::clock(359999), u"99:59:59"_s);
    EXPECT_EQ(Strings::clock(360000), u"100:00:00"_s);
}

TEST(StringsClock, ReadsNegativeTimesAsNone) {
    EXPECT_EQ(Strings::clock(-5), u"00:00"_s);
    EXPECT_EQ(Strings::clock(-0.1), u"00:00"_s);
    EXPECT_EQ(Strings::clock(0), u"00:00"_s);
}

TEST(StringsClock, BearsTimesThatAreNone) {
    EXPECT_EQ(Strings::clock(std::numeric_limits<double>::quiet_NaN()), u"00:00"_s);
    EXPECT_EQ(Strings::clock(-std::numeric_limits<double>::infinity()), u"00:00"_s);
    EXPECT_EQ(Strings::clock(std::numeric_limits<double>::infinity()), Strings::clock(1e300));
}

TEST(StringsDuration, RoundsToWholeSeconds) {
    EXPECT_EQ(Strings::duration(59.4), u"0 分 59 秒"_s);
    EXPECT_EQ(Strings::duration(59.5), u"1 分 00 秒"_s);
    EXPECT_EQ(Strings::duration(309), u"5 分 09 秒"_s);
    EXPECT_EQ(Strings::duration(0.5), u"0 分 01 秒"_s);
}

TEST(StringsDuration, ShowsHoursFromOneHourOn) {
    EXPECT_EQ(Strings::duration(3599.4), u"59 分 59 秒"_s);
    EXPECT_EQ(Strings::duration(3599.5), u"1 小時 00 分"_s);
    EXPECT_EQ(Strings::duration(3900), u"1 小時 05 分"_s);
    EXPECT_EQ(Strings::duration(3959), u"1 小時 05 分"_s);
    EXPECT_EQ(Strings::duration(90000), u"25 小時 00 分"_s);
}

TEST(StringsDuration, ReadsNegativeTimesAsNone) {
    EXPECT_EQ(Strings::duration(-5), u"0 分 00 秒"_s);
    EXPECT_EQ(Strings::duration(-0.4), u"0 分 00 秒"_s);
    EXPECT_EQ(Strings::duration(std::numeric_limits<double>::quiet_NaN()), u"0 分 00 秒"_s);
}

TEST(StringsMeetingTypes, SpeakTheLanguageOfTheInterface) {
    const EnvironmentValue home("TARVEX_HOME", "/somewhere");
    {
        const EnvironmentValue language("TARVEX_ONBOARDING_LANG", "zh");
        EXPECT_EQ(Strings::meetingTypes(), (QStringList{u"工作"_s, u"私人"_s}));
    }
    const EnvironmentValue language("TARVEX_ONBOARDING_LANG", "en");
    EXPECT_EQ(Strings::meetingTypes(), (QStringList{u"Work"_s, u"Personal"_s}));
}

} // namespace
