#include "copy/OnboardingCopy.h"

namespace copy {

constinit const OnboardingCopy OnboardingCopy::zh{
    .language = OnboardingLanguage::zh,
    .stepOf = u"第 %d 步，共 %d 步",
    .on = u"已開啟",
    .open = u"打開",
    .found = u"已找到",
    .missing = u"找不到",
    .next = u"下一步",
    .title1 = u"讓 Brieflet 聽得到",
    .sub1 = u"這是 macOS 的安全設定，只有你能打開。打開後這裡會自動打勾。",
    .micTitle = u"麥克風",
    .micDetail = u"聽你講話",
    .screenTitle = u"螢幕錄製",
    .screenDetail = u"錄對方的聲音，還有會議畫面的截圖",
    .footer1 = u"開好會自動到下一步",
    .skip = u"先只錄我的聲音",
    .title2 = u"轉文字和寫重點",
    .sub2 = u"錄音和逐字稿都留在這台電腦。只有寫重點那一步，文字會送給 Claude。",
    .whisperTitle = u"mlx_whisper",
    .whisperDetail = u"把錄音變成文字，在這台電腦上做",
    .claudeTitle = u"Claude",
    .claudeDetail = u"寫會議重點和練習建議，用你的訂閱",
    .openSettings = u"打開設定頁",
    .footer2 = u"沒有也能錄，之後裝好會自動接上",
    .title3 = u"兩種用法",
    .sub3 = u"大紅鈕上面可以切換：會議，或練習。",
    .meetingTitle = u"會議",
    .meetingDetail = u"錄你和對方，畫面有變就截一張。會後問三題。錄音 7 天後刪，文字永遠留。",
    .practiceTitle = u"練習",
    .practiceDetail = u"只錄你。講完給建議：語速、停頓、口頭禪、語調起伏。",
    .title4 = u"試 10 秒看看",
    .sub4 = u"講一句話，看「我」那條會不會動。放一段有聲音的影片，看「對方」那條。",
    .meterMine = u"我",
    .meterTheirs = u"對方",
    .footer4 = u"兩條都會動就對了",
    .footer4NoScreen = u"沒有螢幕錄製權限，只能量到你",
    .start = u"開始用",
    .settingsRow = u"重新看一次引導",
};

constinit const OnboardingCopy OnboardingCopy::en{
    .language = OnboardingLanguage::en,
    .stepOf = u"Step %d of %d",
    .on = u"On",
    .open = u"Open",
    .found = u"Found",
    .missing = u"Not found",
    .next = u"Next",
    .title1 = u"Let Brieflet hear you",
    .sub1 = u"These are macOS privacy settings, and only you can turn them on. This page ticks them off by itself.",
    .micTitle = u"Microphone",
    .micDetail = u"Hears you",
    .screenTitle = u"Screen Recording",
    .screenDetail = u"Records the other side, and screenshots of the meeting",
    .footer1 = u"Moves on once both are on",
    .skip = u"Only record my voice",
    .title2 = u"Transcripts and summaries",
    .sub2 = u"Recordings and transcripts stay on this Mac. Only the summary step sends text to Claude.",
    .whisperTitle = u"mlx_whisper",
    .whisperDetail = u"Turns recordings into text, on this Mac",
    .claudeTitle = u"Claude",
    .claudeDetail = u"Writes meeting summaries and practice tips, on your subscription",
    .openSettings = u"Open Settings",
    .footer2 = u"You can record without these. They connect once installed.",
    .title3 = u"Two ways to use it",
    .sub3 = u"Above the big red button you can switch: Meeting, or Practice.",
    .meetingTitle = u"Meeting",
    .meetingDetail = u"Records you and the other side, with a screenshot when the screen changes. Asks three questions "
                     u"after. Audio is deleted after 7 days, text stays.",
    .practiceTitle = u"Practice",
    .practiceDetail = u"Records only you. Gives tips after: pace, pauses, filler words, pitch variety.",
    .title4 = u"Try it for 10 seconds",
    .sub4 = u"Say something and watch the Me bar. Play a video with sound and watch the Them bar.",
    .meterMine = u"Me",
    .meterTheirs = u"Them",
    .footer4 = u"If both move, you are set",
    .footer4NoScreen = u"No Screen Recording permission, so only your voice shows",
    .start = u"Start",
    .settingsRow = u"Show the intro again",
};

const OnboardingCopy& OnboardingCopy::of(OnboardingLanguage wanted) {
    return wanted == OnboardingLanguage::zh ? zh : en;
}

const OnboardingCopy& OnboardingCopy::current() {
    return of(OnboardingLanguage::current());
}

std::vector<CopyField> OnboardingCopy::fields() const {
    return {
        {u"stepOf", stepOf},
        {u"on", on},
        {u"open", open},
        {u"found", found},
        {u"missing", missing},
        {u"next", next},
        {u"title1", title1},
        {u"sub1", sub1},
        {u"micTitle", micTitle},
        {u"micDetail", micDetail},
        {u"screenTitle", screenTitle},
        {u"screenDetail", screenDetail},
        {u"footer1", footer1},
        {u"skip", skip},
        {u"title2", title2},
        {u"sub2", sub2},
        {u"whisperTitle", whisperTitle},
        {u"whisperDetail", whisperDetail},
        {u"claudeTitle", claudeTitle},
        {u"claudeDetail", claudeDetail},
        {u"openSettings", openSettings},
        {u"footer2", footer2},
        {u"title3", title3},
        {u"sub3", sub3},
        {u"meetingTitle", meetingTitle},
        {u"meetingDetail", meetingDetail},
        {u"practiceTitle", practiceTitle},
        {u"practiceDetail", practiceDetail},
        {u"title4", title4},
        {u"sub4", sub4},
        {u"meterMine", meterMine},
        {u"meterTheirs", meterTheirs},
        {u"footer4", footer4},
        {u"footer4NoScreen", footer4NoScreen},
        {u"start", start},
        {u"settingsRow", settingsRow},
    };
}

QString OnboardingCopy::stepLabel(int step) const {
    return stepOf(step, stepCount);
}

} // namespace copy
