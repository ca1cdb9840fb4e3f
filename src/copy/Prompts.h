// The texts that are sent to the AI. The instructions are Chinese whatever the language of the answer; only the pieces
// that ask for a language, or that the answer repeats, change with it.
//   Threads  any
#pragma once

#include "copy/AILanguage.h"
#include "copy/FixedText.h"
#include "copy/TextWith.h"
#include "copy/UserName.h"

namespace copy::Strings {

/// The rules at the head of the prompt for a summary, for the user of that name.
[[nodiscard]] QString aiPromptRules(const QString& name = UserName::current(),
                                    AILanguage language = AILanguage::current());
/// The rules at the head of the prompt for practice advice.
[[nodiscard]] QString coachPromptRules(const QString& name = UserName::current(),
                                       AILanguage language = AILanguage::current());

// Labels of the summary prompt
inline constexpr FixedText aiPromptTitle = u"會議標題：";
inline constexpr FixedText aiPromptType = u"類型：";
inline constexpr FixedText aiPromptPeople = u"在場的人：";
inline constexpr FixedText aiPromptTranscript = u"逐字稿：";
inline constexpr FixedText aiPromptNotes = u"使用者的補充：";
inline constexpr FixedText aiPromptNone = u"沒有";

// Labels of the practice prompt
inline constexpr FixedText coachPromptTitle = u"練習標題：";
inline constexpr FixedText coachPromptNumbers = u"數字（Brieflet 算好的，以這裡為準）：";
inline constexpr FixedText coachPromptTranscript = u"逐字稿：";
inline constexpr FixedText coachPromptNotes = u"使用者的重點或大綱：";
inline constexpr FixedText coachPromptNone = u"沒有";

// Lines of numbers in the practice prompt
inline constexpr TextWith<QString, int> coachPromptSpoken{u"講了多久：%@，共 %d 字"};
inline constexpr TextWith<int, int, int> coachPromptRate{u"語速：每分鐘 %d 字（前半 %d、後半 %d）"};
inline constexpr TextWith<int, double, QString> coachPromptPauses{u"長停頓（2 秒以上）：%d 次，最長 %.1f 秒，在 %@"};
inline constexpr FixedText coachPromptNoPauses = u"長停頓（2 秒以上）：0 次";
inline constexpr TextWith<int, double, QString> coachPromptFillers{u"口頭禪：共 %d 次，每分鐘 %.1f 個（%@）"};
inline constexpr TextWith<QString, int, double, int> coachPromptPrevious{
    u"上一輪（%@）：語速每分鐘 %d 字、口頭禪每分鐘 %.1f 個、長停頓 %d 次"};
inline constexpr FixedText coachPromptNoPrevious = u"上一輪：沒有";
inline constexpr TextWith<QString, double, double, double, double, double> coachPromptPitch{
    u"語調起伏：%@（音高標準差 %.1f 半音，常用音域 p10 到 p90 共 %.1f 半音，有聲音的部分 %.1f 秒；小於 %.1f "
    u"算偏平，%.1f 以上算有起伏）"};
inline constexpr TextWith<double, double> coachPromptPitchNotEnough{
    u"語調起伏：資料不夠（有聲音的部分 %.1f 秒，不到 %.0f 秒），不要評語調"};
inline constexpr FixedText coachPromptPitchMissing = u"語調起伏：沒有算（找不到錄音檔），不要評語調";
inline constexpr TextWith<QString, QString, double, QString, QString, QString> coachPromptPitchFlattest{
    u"語調最平的一段：%@ 到 %@，標準差 %.1f 半音（%@），那時在講（%@）：「%@」"};
inline constexpr TextWith<QString, QString, double, QString> coachPromptPitchFlattestNoSentence{
    u"語調最平的一段：%@ 到 %@，標準差 %.1f 半音（%@），逐字稿沒有對到句子"};
inline constexpr TextWith<QString, double> coachPromptPitchPrevious{u"語調起伏比上一輪：%@ 半音（上一輪 %.1f）"};

} // namespace copy::Strings
