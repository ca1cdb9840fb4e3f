// Every text of the interface that has one language, by screen. Nothing else in the program holds a literal for people.
//   Names    FixedText becomes a QString by itself; a TextWith is called with what stands in its places
//   Threads  any
#pragma once

#include "copy/FixedText.h"
#include "copy/OnboardingLanguage.h"
#include "copy/TextWith.h"

#include <QStringList>

#include <array>

namespace copy::Strings {

/// The running time of a recording or of a line of a transcript, from whole seconds (the fraction is cut off,
/// negative ones count as 0): "05:09", from one hour on "1:05:09".
[[nodiscard]] QString clock(double seconds);
/// A length, rounded to whole seconds, negative ones as 0: "5 分 09 秒", from one hour on "1 小時 05 分".
[[nodiscard]] QString duration(double seconds);

/// The names of the types that a fresh list begins with; they depend on the language of the interface.
[[nodiscard]] QStringList meetingTypes();

// Application and status
inline constexpr FixedText appName = u"Brieflet";
inline constexpr FixedText statusIdle = u"待命中";
inline constexpr FixedText statusStarting = u"準備錄音…";
inline constexpr TextWith<QString> statusRecording{u"錄音中 %@"};
inline constexpr FixedText statusStopping = u"存檔中…";
inline constexpr TextWith<QString> statusPracticing{u"練習中 %@"};
inline constexpr FixedText mainStarting = u"準備錄音…";
inline constexpr FixedText mainStopping = u"存檔中…";
inline constexpr FixedText micStillOpening = u"麥克風還在開";
inline constexpr TextWith<QString> statusSaved{u"上一場已存：%@"};

// Menus
inline constexpr FixedText menuStart = u"開始錄音";
inline constexpr FixedText menuStop = u"停止錄音";
inline constexpr FixedText menuStartPractice = u"開始練習";
inline constexpr FixedText menuStopPractice = u"停止練習";
inline constexpr FixedText menuShot = u"拍一張";
inline constexpr FixedText menuOpenAll = u"所有會議";
inline constexpr FixedText menuQuit = u"結束 Brieflet";
inline constexpr FixedText menuOpenWindow = u"打開 Brieflet";
inline constexpr FixedText menuRecording = u"錄音";
inline constexpr FixedText menuGo = u"前往";
inline constexpr FixedText menuFind = u"搜尋";
inline constexpr FixedText appMenuQuit = u"結束 Brieflet";
inline constexpr FixedText appMenuHide = u"隱藏 Brieflet";
inline constexpr FixedText editMenu = u"編輯";
inline constexpr FixedText editUndo = u"還原";
inline constexpr FixedText editRedo = u"重做";
inline constexpr FixedText editCut = u"剪下";
inline constexpr FixedText editCopy = u"複製";
inline constexpr FixedText editPaste = u"貼上";
inline constexpr FixedText editSelectAll = u"全選";
inline constexpr FixedText windowMenu = u"視窗";
inline constexpr FixedText windowClose = u"關閉";
inline constexpr FixedText windowMinimize = u"縮到 Dock";
inline constexpr TextWith<int> menuAutoShots{u"錄音時自動截圖（每 %d 秒）"};
inline constexpr FixedText menuOpenLatest = u"打開最近一場";

// Notifications and meters
inline constexpr FixedText meterMine = u"我";
inline constexpr FixedText meterTheirs = u"對方";
inline constexpr TextWith<QString> notifySaved{u"已存：%@"};
inline constexpr FixedText speakerMe = u"我";
inline constexpr FixedText speakerThem = u"對方";
inline constexpr FixedText notifyStarted = u"Brieflet 開始錄音";
inline constexpr FixedText notifyPracticeStarted = u"Brieflet 開始練習，只錄你的麥克風";

// Recording warnings and failures
inline constexpr FixedText noDisplay = u"找不到螢幕";
inline constexpr FixedText noMicrophone = u"沒有麥克風權限，按這裡打開設定";
inline constexpr FixedText noScreenCapture = u"沒有螢幕錄製權限（系統聲音也靠它），按這裡打開設定，打開後重開 app";
inline constexpr TextWith<QString> micFailed{u"麥克風開不了：%@"};
inline constexpr FixedText micTimeoutReason = u"等了 45 秒還沒打開";
inline constexpr TextWith<QString> systemAudioFailed{u"系統聲音沒錄到：%@"};
inline constexpr TextWith<QString> systemAudioStopped{u"系統聲音中途停了：%@"};
inline constexpr FixedText systemAudioTimeout = u"系統聲音等了 10 秒還沒啟動";
inline constexpr FixedText noScreenCaptureMicOnly = u"沒有螢幕錄製權限，這場只錄到我的聲音";
inline constexpr FixedText noDisplayMicOnly = u"找不到螢幕，這場只錄到我的聲音";
inline constexpr FixedText warnMicSilent = u"我的麥克風沒有聲音";
inline constexpr FixedText warnSystemSilent = u"對方的聲音沒有進來";
inline constexpr TextWith<QString> warnMicWrite{u"我的錄音寫入出錯：%@"};
inline constexpr TextWith<QString> warnSystemWrite{u"對方的錄音寫入出錯：%@"};
inline constexpr TextWith<QString> shotFailed{u"截圖失敗：%@"};
inline constexpr TextWith<QString> folderFailed{u"建不了資料夾：%@"};
inline constexpr TextWith<QString> metaWriteFailed{u"meta.json 寫不進去：%@"};
inline constexpr TextWith<QString> lockWriteFailed{u"recording.lock 寫不進去：%@"};
inline constexpr TextWith<QString> convertFailed{u"錄音轉檔沒完成，原始檔還留在資料夾裡：%@"};
inline constexpr FixedText noMetaShort = u"錄到一半中斷，只能看不能改";

// Form and people
inline constexpr FixedText formTitle = u"會議資訊";
inline constexpr FixedText formHeader = u"這場會議";
inline constexpr FixedText formType = u"類型";
inline constexpr FixedText formPeople = u"誰在場";
inline constexpr FixedText formNewName = u"加新名字";
inline constexpr FixedText formAdd = u"加入";
inline constexpr FixedText formNote = u"一句話";
inline constexpr FixedText formSkip = u"略過";
inline constexpr FixedText formSave = u"存檔";
inline constexpr TextWith<int> peopleMore{u" 等 %d 人"};
inline constexpr FixedText chipAddPeople = u"誰在場";
inline constexpr FixedText peopleAdd = u"加入";
inline constexpr FixedText peopleNewName = u"加新名字";
inline constexpr TextWith<QString, QString> formSubtitle{u"%@ 開始，錄了 %@"};
inline constexpr FixedText formPeopleEmpty = u"名單是空的，在下面加名字";
inline constexpr FixedText formNotePlaceholder = u"這場在講什麼";
inline constexpr FixedText peopleBroken = u"people.json 讀不懂，先修好檔案再加名字";
inline constexpr TextWith<QString> peopleWriteFailed{u"名字存不進 people.json：%@"};
inline constexpr FixedText peopleListEmpty = formPeopleEmpty;

// Permissions
inline constexpr FixedText permMic = u"麥克風";
inline constexpr FixedText permScreen = u"螢幕錄製";
inline constexpr FixedText permOK = u"✓";
inline constexpr FixedText permMissing = u"✗";
inline constexpr FixedText permFix = u"點一下打開系統設定";

// Main window
inline constexpr FixedText untitled = u"未命名";
inline constexpr FixedText mainDelete = u"刪除這場";
inline constexpr FixedText mainSectionInfo = u"這場會議";
inline constexpr FixedText mainType = u"類型";
inline constexpr FixedText mainTypeNone = u"未填";
inline constexpr FixedText mainPeople = u"誰在場";
inline constexpr FixedText mainStartTime = u"開始";
inline constexpr FixedText mainDuration = u"長度";
inline constexpr FixedText mainUnknown = u"不知道";
inline constexpr FixedText mainSectionAudio = u"錄音";
inline constexpr FixedText mainMic = u"我的聲音";
inline constexpr FixedText mainSystem = u"對方的聲音";
inline constexpr FixedText mainPlay = u"播放";
inline constexpr FixedText mainPause = u"暫停";
inline constexpr FixedText mainSectionShots = u"截圖";
inline constexpr TextWith<int> mainShotAt{u"第 %d 秒"};
inline constexpr FixedText mainShotPrev = u"上一張";
inline constexpr FixedText mainShotNext = u"下一張";
inline constexpr FixedText mainSectionNotes = u"筆記";
inline constexpr FixedText mainDeleteConfirm = u"刪除";
inline constexpr FixedText mainCancel = u"取消";
inline constexpr TextWith<QString> mainDeleteFailed{u"刪不掉：%@"};
inline constexpr FixedText navAll = u"全部會議";
inline constexpr FixedText untitledMeeting = u"未命名會議";
inline constexpr FixedText practiceFolder = u"練習";
inline constexpr FixedText practiceBadge = u"練習";
inline constexpr FixedText untitledPractice = u"未命名練習";
inline constexpr FixedText mainSearch = u"搜尋一句話或人名";
inline constexpr FixedText mainEmpty = u"還沒有錄音。按上面的開始錄音。";
inline constexpr FixedText mainNoMatch = u"沒有符合的會議";
inline constexpr FixedText mainPickOne = u"從左邊選一場會議";
inline constexpr FixedText mainTitlePlaceholder = formNotePlaceholder;
inline constexpr FixedText mainShowInFinder = u"在 Finder 顯示";
inline constexpr FixedText mainPeoplePlaceholder = u"加名字，用逗號分開";
inline constexpr FixedText mainAudioMissing = u"沒有這條錄音";
inline constexpr FixedText mainAudioBroken = u"這個檔案打不開";
inline constexpr FixedText mainNoShots = u"這場沒有截圖";
inline constexpr FixedText shotsGone = u"截圖已過 7 天自動刪除";
inline constexpr FixedText mainNotesHint = u"存在這場的資料夾，檔名 notes.md";
inline constexpr FixedText mainNoMeta = u"這場沒有 meta.json，可能錄到一半中斷，只能看不能改";
inline constexpr FixedText mainMetaBroken = u"meta.json 讀不懂，先修好檔案再改";
inline constexpr TextWith<QString> mainSaveFailed{u"存不進去：%@"};
inline constexpr TextWith<QString> mainDeleteTitle{u"刪除「%@」？"};
inline constexpr FixedText mainDeleteInfo = u"整個資料夾（錄音、截圖、筆記）會移到垃圾桶。";

// Sidebar and list
inline constexpr FixedText filterAll = u"全部";
inline constexpr FixedText sideSearch = u"搜尋";
inline constexpr FixedText sideAddType = u"新增類型";
inline constexpr FixedText sideSettings = u"設定";
inline constexpr FixedText sideOpenFolder = u"打開資料夾";
inline constexpr FixedText uncategorized = u"未分類";
inline constexpr TextWith<int> meetingCount{u"%d 場"};
inline constexpr FixedText groupToday = u"今天";
inline constexpr FixedText groupYesterday = u"昨天";
inline constexpr FixedText groupThisWeek = u"這週";
inline constexpr TextWith<int, int> groupMonth{u"%d 年 %d 月"};
inline constexpr FixedText groupUnknown = u"沒有日期";
inline constexpr FixedText interrupted = u"中斷";
inline constexpr TextWith<QString> pendingRecording{u"錄音中 %@"};
inline constexpr FixedText pendingForm = u"等你填表單";
inline constexpr FixedText emptyNoneTitle = u"還沒有會議";
inline constexpr FixedText rowOpen = u"打開";
inline constexpr FixedText rowChangeType = u"改類型";
inline constexpr FixedText prevMeeting = u"上一場";
inline constexpr FixedText nextMeeting = u"下一場";
inline constexpr FixedText more = u"更多";
inline constexpr FixedText deleteMeeting = u"刪除這場…";
inline constexpr FixedText filterPractice = u"練習";
inline constexpr TextWith<QString> pendingPracticing{u"練習中 %@"};
inline constexpr FixedText emptyPracticeTitle = u"還沒有練習";
inline constexpr FixedText pendingRecordingSub = u"停止後填完表單，就會出現在下面";
inline constexpr FixedText pendingFormSub = u"點一下把表單叫到前面";
inline constexpr FixedText emptyNoneSub = u"按左上角的開始錄音，或從選單列的 Brieflet 開始";
inline constexpr TextWith<QString> emptyTypeTitle{u"「%@」還沒有會議"};
inline constexpr FixedText emptyTypeSub = u"錄完在表單選這個類型，或在會議頁改類型";
inline constexpr TextWith<QString> emptyFindTitle{u"找不到「%@」"};
inline constexpr FixedText emptyFindSub = u"標題、人名、筆記、AI 重點和逐字稿都搜過了";
inline constexpr FixedText titleHint = u"點一下改標題";
inline constexpr TextWith<QString, int> pendingAIQueued{u"%@ · 後面還有 %d 場"};
inline constexpr FixedText pendingPracticingSub = u"停止後自動轉文字、給建議";
inline constexpr FixedText emptyPracticeSub = u"左上角切到「練習」，再按「開始練習」，只錄你的麥克風";
inline constexpr std::array<FixedText, 7> weekdays{u"週一", u"週二", u"週三", u"週四",
                                                   u"週五", u"週六", u"週日"}; ///< Monday first

// Retention lines
inline constexpr TextWith<int> audioDaysLeft{u"錄音和截圖 %d 天後刪除"};
inline constexpr FixedText audioToday = u"錄音和截圖一天內刪除";
inline constexpr FixedText audioGone = u"錄音和截圖已過 7 天自動刪除，筆記和文字都還在";
inline constexpr FixedText audioNone = u"這場沒有錄音檔";

// Summary card
inline constexpr FixedText aiTitle = u"AI 重點";
inline constexpr TextWith<QString> aiGeneratedAt{u"%@ 產生"};
inline constexpr FixedText aiCopy = u"複製";
inline constexpr FixedText aiCopied = u"已複製";
inline constexpr FixedText notesTitle = u"我的補充";
inline constexpr FixedText aiGenerate = u"產生重點";
inline constexpr FixedText aiTranscribing = u"轉文字中…";
inline constexpr FixedText aiSummarizing = u"寫重點中…";
inline constexpr FixedText etaUnderMinute = u"不到 1 分鐘";
inline constexpr TextWith<int> etaSeconds{u"大約 %d 秒"};
inline constexpr FixedText etaAlmost = u"快好了";
inline constexpr TextWith<int> etaRowMinutes{u"大約 %d 分"};
inline constexpr FixedText etaRowUnderMinute = u"不到 1 分";
inline constexpr FixedText aiRetry = u"再試一次";
inline constexpr TextWith<QString> aiErrMissing{u"找不到 %@"};
inline constexpr FixedText sendToAIHint = u"存好補充，照補充重新整理重點。錯字、人名、連結都會改進去";
inline constexpr FixedText sendToAIHintPractice = u"存好你的重點，照它重新給建議";
inline constexpr FixedText sendToAIEmpty = u"先寫補充再送";
inline constexpr TextWith<QString, QString, QString, QString, QString, QString> sendToAITestLine{
    u"sendai: notes saved=%@ button=%@ queued=%@ notesLine=%@ progress=%@ faded=%@"};
inline constexpr FixedText aiEmptyTitle = u"還沒有 AI 重點";
inline constexpr FixedText aiEmptySub = u"有了逐字稿就能產生結論、決定、下一步和重點";
inline constexpr FixedText aiBrokenTitle = u"AI 重點讀不出來";
inline constexpr FixedText aiBrokenSub = u"summary.json 的格式不對";
inline constexpr FixedText notesPlaceholder = u"補充 AI 沒抓到的、你自己的想法";
inline constexpr FixedText aiRegenerateHint = u"重寫重點，逐字稿不重轉。按住 option 再點，會先重新轉文字";
inline constexpr FixedText aiQueued = u"等前一場做完";
inline constexpr TextWith<QString> etaTranscribing{u"轉文字中 · %@"};
inline constexpr TextWith<QString> etaSummarizing{u"寫重點中 · %@"};
inline constexpr TextWith<QString> etaCoaching{u"寫建議中 · %@"};
inline constexpr TextWith<int> etaMinutesLeft{u"大約還要 %d 分鐘"};
inline constexpr TextWith<int> etaMinutes{u"大約 %d 分鐘"};
inline constexpr TextWith<QString> aiFailed{u"沒有產生出來：%@"};
inline constexpr FixedText aiStale = u"逐字稿改過了，可以重新產生";
inline constexpr FixedText aiReplaceTitle = u"這份重點不是 Brieflet 產生的，重新產生會換掉它。舊的會進垃圾桶。";
inline constexpr FixedText aiNeedTranscript = u"要先有逐字稿";
inline constexpr FixedText aiWhisperMissing = u"找不到 mlx_whisper，到設定頁看看";
inline constexpr FixedText aiClaudeMissing = u"找不到 claude，到設定頁看看";
inline constexpr FixedText aiErrNoAudio = u"這場沒有錄音檔，不能轉文字";
inline constexpr FixedText aiErrAudioGone = u"錄音已過 7 天刪除，不能再轉";
inline constexpr TextWith<QString> aiErrWhisper{u"轉文字的程式出錯：%@"};
inline constexpr FixedText aiErrWhisperOutput = u"轉文字的程式沒有寫出結果";
inline constexpr FixedText aiErrNoSpeech = u"兩軌都沒有轉出文字";
inline constexpr FixedText aiErrNoSpeechPractice = u"麥克風沒有轉出文字";
inline constexpr FixedText aiErrEmptyCoach = u"Claude 回的建議是空的";
inline constexpr TextWith<QString> aiErrClaude{u"Claude 出錯：%@"};
inline constexpr FixedText aiErrClaudeOutput = u"Claude 回的內容讀不懂";
inline constexpr FixedText aiErrEmpty = u"Claude 回的重點是空的";
inline constexpr FixedText aiErrTimeout = u"等太久沒有回應，已經停掉";
inline constexpr FixedText aiErrCancelled = u"Brieflet 結束了，沒有做完";

// Transcript and tracks
inline constexpr FixedText transcriptTitle = u"逐字稿";
inline constexpr FixedText transcriptExpand = u"展開全部";
inline constexpr FixedText transcriptCollapse = u"收合";
inline constexpr TextWith<int> transcriptMore{u"還有 %d 段"};
inline constexpr FixedText trackBoth = u"兩軌";
inline constexpr FixedText trackMine = u"只聽我";
inline constexpr FixedText trackTheirs = u"只聽對方";
inline constexpr FixedText trackBothMenu = u"兩軌一起";
inline constexpr FixedText transcriptMake = u"轉文字稿";
inline constexpr FixedText transcriptWorking = u"轉文字中…";
inline constexpr FixedText transcriptEmpty = u"還沒有逐字稿";
inline constexpr FixedText transcriptBroken = u"逐字稿讀不出來，transcript.json 的格式不對";
inline constexpr FixedText transcriptQueued = u"排隊中，等一下就開始轉文字";
inline constexpr TextWith<QString> transcriptFailed{u"轉文字失敗：%@"};

// Settings and types
inline constexpr FixedText settingsTitle = u"設定";
inline constexpr FixedText settingsTypes = u"類型";
inline constexpr FixedText settingsRecording = u"錄音";
inline constexpr FixedText typeRename = u"改名…";
inline constexpr FixedText typeColor = u"顏色";
inline constexpr FixedText typeDelete = u"刪除…";
inline constexpr FixedText typeAddToList = u"加入清單";
inline constexpr FixedText typeNew = u"新增類型…";
inline constexpr FixedText typeAddTitle = u"新增類型";
inline constexpr FixedText typeNamePlaceholder = u"類型名稱";
inline constexpr FixedText typeSave = u"好";
inline constexpr FixedText settingsFound = u"找到了";
inline constexpr FixedText settingsMissing = u"找不到";
inline constexpr FixedText settingsTypesEmpty = u"還沒有類型，按右上角新增";
inline constexpr FixedText settingsAutoShots = u"錄音時自動截圖";
inline constexpr TextWith<int> settingsAutoShotsDesc{u"每 %d 秒看一次螢幕，畫面有變才存"};
inline constexpr FixedText settingsKeep = u"錄音和截圖保留 7 天";
inline constexpr FixedText settingsKeepDesc = u"錄音和截圖 7 天後自動刪除，筆記和文字都會留著";
inline constexpr FixedText settingsDragHint = u"拖拉調整順序";
inline constexpr TextWith<QString> typeRenameTitle{u"把「%@」改名"};
inline constexpr TextWith<QString> typeDeleteTitle{u"刪除類型「%@」？"};
inline constexpr TextWith<int> typeDeleteInfo{u"%d 場會議會變成未分類。會議本身不會刪掉。"};
inline constexpr FixedText typeDeleteInfoNone = u"沒有會議用這個類型。";
inline constexpr TextWith<int> typeChangeFailed{u"有 %d 場的 meta.json 改不了，那幾場還是舊的類型"};
inline constexpr FixedText typesBroken = u"types.json 讀不懂，先修好檔案再改類型";
inline constexpr FixedText typeEmptyName = u"類型名稱不能是空的";
inline constexpr TextWith<QString> typeReserved{u"「%@」是保留的名字"};
inline constexpr TextWith<QString> typeDuplicate{u"已經有「%@」了"};
inline constexpr TextWith<QString> typeMissing{u"找不到類型「%@」"};
inline constexpr FixedText settingsAI = u"轉文字與重點";
inline constexpr FixedText settingsWhisper = u"轉文字（mlx_whisper）";
inline constexpr FixedText settingsClaude = u"寫重點（claude）";
inline constexpr TextWith<QString> settingsWhisperDesc{u"%@ · 在這台電腦上轉文字，錄音不會離開電腦"};
inline constexpr TextWith<QString> settingsClaudeDesc{u"%@ · 逐字稿和你的補充會交給 Claude 整理成重點"};
inline constexpr TextWith<QString> settingsToolMissingDesc{u"找不到 %@。裝好之後重開設定頁就會看到"};
inline constexpr FixedText settingsAuto = u"停止錄音後自動產生";
inline constexpr FixedText settingsAutoDesc =
    u"表單存檔後自動轉文字、寫重點；練習停止後自動轉文字、給建議。已經有的不會被蓋掉";

// Coach card
inline constexpr FixedText coachTitle = u"練習建議";
inline constexpr TextWith<QString> coachGeneratedAt{u"%@ 給的"};
inline constexpr FixedText coachGenerate = u"給建議";
inline constexpr FixedText coachWorking = u"寫建議中…";
inline constexpr FixedText coachWentWell = u"做得好的";
inline constexpr FixedText coachCovered = u"✓";
inline constexpr FixedText coachMissed = u"!";
inline constexpr FixedText coachRewrites = u"換句話說";
inline constexpr FixedText coachNotesTitle = u"你的重點";
inline constexpr FixedText coachRegenerate = u"重新給建議";
inline constexpr FixedText coachEmptyTitle = u"還沒有練習建議";
inline constexpr FixedText coachEmptySub = u"有了逐字稿就能給建議：做得好的、下一輪練什麼、換句話說";
inline constexpr FixedText coachBrokenTitle = u"練習建議讀不出來";
inline constexpr FixedText coachBrokenSub = u"coach.json 的格式不對";
inline constexpr FixedText coachFocus = u"下一輪只練這件";
inline constexpr FixedText coachCoverage = u"重點有沒有講到";
inline constexpr FixedText coachRewritesNone = u"這輪沒有要改的句子";
inline constexpr FixedText coachNotesPlaceholder = u"貼你的重點或大綱，AI 會檢查有沒有講到";
inline constexpr FixedText coachReplaceTitle =
    u"這份練習建議不是 Brieflet 產生的，重新給建議會換掉它。舊的會進垃圾桶。";

// Stat tiles and pitch words
inline constexpr FixedText statsTitle = u"數字";
inline constexpr FixedText statsSpoken = u"講了多久";
inline constexpr TextWith<int> statsSpokenSub{u"%d 字"};
inline constexpr FixedText statsRate = u"語速";
inline constexpr TextWith<int> statsRateValue{u"%d 字/分"};
inline constexpr FixedText statsFillers = u"口頭禪";
inline constexpr TextWith<QString> statsFillersValue{u"%@ 個/分"};
inline constexpr FixedText statsFillersNone = u"沒有聽到";
inline constexpr TextWith<QString, int> statsFillerItem{u"%@ %d 次"};
inline constexpr FixedText statsPauses = u"長停頓";
inline constexpr TextWith<int> statsPausesValue{u"%d 次"};
inline constexpr TextWith<QString> statsChange{u"比上次 %@"};
inline constexpr FixedText statsSame = u"跟上次一樣";
inline constexpr FixedText statsPitch = u"語調起伏";
inline constexpr TextWith<QString> statsPitchSub{u"%@ 半音"};
inline constexpr TextWith<int> statsPitchNotEnoughSub{u"不到 %d 秒"};
inline constexpr FixedText pitchLively = u"有起伏";
inline constexpr FixedText pitchNormal = u"普通";
inline constexpr FixedText pitchFlat = u"偏平";
inline constexpr FixedText pitchNotEnough = u"資料不夠";
inline constexpr TextWith<int, int> statsRateSub{u"前半 %d · 後半 %d"};
inline constexpr TextWith<int> statsFillersSub{u"共 %d 次，點開看"};
inline constexpr TextWith<int> statsFillersOpen{u"共 %d 次，點一下收起"};
inline constexpr TextWith<QString, QString> statsPausesSub{u"最長 %@ 秒 · %@"};
inline constexpr FixedText statsPausesNone = u"沒有 2 秒以上的";
inline constexpr FixedText statsWaiting = u"轉完文字就會算";
inline constexpr TextWith<QString, QString, QString> statsPitchTip{u"最平的一段 %@ 到 %@，%@ 半音"};

// Keep card
inline constexpr TextWith<QString> keepCardLine{u"keep card: %@"};
inline constexpr TextWith<QString> keepDiscardFailed{u"練習丟不掉，還留著：%@"};

} // namespace copy::Strings
