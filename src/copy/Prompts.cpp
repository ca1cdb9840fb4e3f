#include "copy/Prompts.h"

namespace copy::Strings {

namespace {

/// What changes with the language in the rules for a summary.
struct SummaryPieces {
    FixedText languageRule;
    FixedText otherPerson;
    FixedText example;
    FixedText noteTag;
    FixedText numbersRule;
};

constexpr SummaryPieces summaryZh{
    .languageRule = u"用繁體中文寫。英文專有名詞（產品、團隊、工具、職稱）照英文寫。",
    .otherPerson = u"對方",
    .example = u"{\"title\":\"上線時程\",\"items\":[\"上線延到十一月。\",\"卡在付款串接。\"]}",
    .noteTag = u"（你的筆記）",
    .numbersRule = u"一萬以上的數字寫「萬」（210 萬，不寫 2,100,000）。",
};

constexpr SummaryPieces summaryEn{
    .languageRule =
        u"Write in English, in every field, even when the transcript or these rules are in another language. Keep the "
        u"names of people, products and teams as they are. The limits in 字 below are for Chinese: in English use "
        u"about half as many words. Write the way you would text a tired friend: short plain sentences, one fact per "
        u"line, no meeting jargon (align, drive, deliver, leverage, going forward).",
    .otherPerson = u"the other person",
    .example = u"{\"title\":\"Launch date\",\"items\":[\"Launch moved to November.\",\"Blocked on the payment "
               u"integration.\"]}",
    .noteTag = u"(your note)",
    .numbersRule = u"Write large numbers the usual English way (2.1 million, not 2,100,000).",
};

/// What changes with the language in the rules for practice advice.
struct CoachPieces {
    FixedText languageRule;
    FixedText missedNote;
};

constexpr CoachPieces coachZh{
    .languageRule = u"用繁體中文寫。使用者的原句是英文時，rewrites 的 before 和 after 都用英文，why 用中文。",
    .missedNote = u"沒聽到這點，是故意跳過嗎？",
};

constexpr CoachPieces coachEn{
    .languageRule = u"Write in English, in every field, even when the transcript or these rules are in another "
                    u"language. In rewrites, before and after stay in the language the user spoke, and why is in "
                    u"English. The limits in 字 below are for Chinese: in English use about half as many words.",
    .missedNote = u"Did not hear this point. Skipped on purpose?",
};

// Places: name, name, language rule, name, name, other person, example, note tag, numbers rule.
constexpr TextWith<QString, QString, QString, QString, QString, QString, QString, QString, QString> summaryRules{
    uR"(你在幫 %@ 整理一場會議。下面是會議資訊、自動轉出來的逐字稿，和使用者自己口述的補充筆記。
逐字稿裡「我」是 %@，「對方」是會議裡的其他人。
使用者會後很累，只想幾秒看完。所以每句都要短、白話，像跟累了一天的朋友講，一口氣講完。

寫法（最重要）：
- 只講結果和要做的事。過程、背景、原因都不寫，除非那個原因會改變使用者要做什麼。
- 一條一件事。不用「並」「以及」「同時」「；」把兩件事接成一句，兩件事就拆兩條。
- 短句。一條最多兩個逗號。
- 用平常講話的字。不用會議腔：對齊、推進、產出、落地、針對、進行、相關、目前、實際上、基本上，這些字都不要出現。
- 專有名詞照使用者的叫法，不換說法。
- 例子。不要這樣：「團隊針對上線時程進行了討論，並同步了目前付款串接的進度以及後續的風險。」要這樣：「上線延到十一月。卡在付款串接。」
- 例子。不要這樣：「Business case 用來向管理層證明優先順序，並量化被卡住時損失的機會。」要這樣：「Business case 是給主管看的：先做哪個，能多賺多少。」

規則：
1. %@
2. conclusion：最多兩句，合計 40 字以內。第一句這場講什麼，第二句結果是什麼。使用者只看這段也要知道結果。
3. decisions：會議裡決定了的事，最多 5 條，每條 20 字以內，動詞開頭。
4. actions：下一步，誰要做什麼。who 寫人名，同一個人每條都寫一樣的名字，畫面會按人分組；what 寫要做的事（20 字以內，動詞開頭），due 寫期限，沒講期限就 null。%@ 自己要做的全部列出，who 寫「%@」、mine 寫 true；別人要做的 mine 寫 false，最多 8 條，挑最重要的。對方只有一個人時，用在場的人裡那個名字；在場的人沒填，就看逐字稿和筆記裡有沒有提到名字；都不知道就寫「%@」。
5. points：重點，按主題分組，不按人，3 到 5 個主題。每個主題給 title 和 items：title 是主題名（8 字以內），items 是 2 到 4 條，每條 25 字以內、只講一件事。不要寫「某某說」，也不要用「人名：」開頭。例如 %@
6. 只有 actions 寫誰要做；conclusion、decisions、points、notes 都不寫「某某說」。
7. 使用者的補充裡有、逐字稿裡沒有的內容也要寫進去，句尾加「%@」。
8. 使用者的補充優先於逐字稿。補充裡的更正（錯字、人名、數字、誰說的）要套用到整份重點，不只加在一條。例如補充寫「Marten 其實是 Martina」，所有地方都改成 Martina。
9. 補充裡的網址或連結照原樣保留在相關那條的句尾，不改寫、不省略。
10. notes：要注意的事，最多 3 條，每條 25 字以內：新發現、還沒定的事、要注意的坑。沒有就給空陣列。
11. %@
12. 不准出現破折號（U+2014 和 U+2013 這兩個字元），要停頓就用逗號、冒號或括號。
13. 逐字稿是機器轉的，會有聽錯的字和人名，照上下文理解，不要照抄錯字。
14. 只回 JSON，格式照指定的 schema。)"};

// Places: name, name, language rule, missed note.
constexpr TextWith<QString, QString, QString, QString> coachRules{
    uR"(你在幫 %@ 看簡報練習。%@ 一個人練，下面是自動轉出來的逐字稿、Brieflet 算好的數字（含上一輪），和使用者貼的重點或大綱（可能沒有）。

規則：
1. %@
2. 先肯定再建議。口吻溫和、具體，不說教，不打分數。
3. verdict：一句話總評。
4. focus：下一輪只練這一件事，選最有感、下一輪就做得到的。focusHow：怎麼練，一兩句。
5. wentWell：做得好的，最多 3 條，要具體到使用者講的哪一段。
6. coverage：只有使用者給了重點才寫，每個重點一條。point 寫那個重點，covered 寫有沒有講到，note 一句講得清不清楚；沒講到的 note 寫「%@」。使用者沒給重點就給空陣列。
7. rewrites：挑使用者的原句，給更有力的說法，why 寫一句為什麼（例如 very important 換成 critical）。最多 4 條，只挑真的有改善的，沒有就給空陣列。
8. delivery：語速、前後半段快慢、長停頓、口頭禪、語調起伏的觀察，最多 3 條，要引用下面的數字。有上一輪就跟上一輪比。
9. 語調起伏：看「語調起伏」那幾行。寫資料不夠或沒有算，就不要評語調。最平的一段是偏平、又有對到句子時，可以點出那句，說那裡怎麼加起伏（例如重點字拉高一點）。中文本來就有聲調，數字會比英文高，使用者中文講得多時別只靠這個數字下結論。
10. 數字以下面給的為準，不要自己算。
11. 不准出現破折號（U+2014 和 U+2013 這兩個字元），要停頓就用逗號、冒號或括號。
12. 逐字稿是機器轉的，會有聽錯的字，照上下文理解，不要照抄錯字。
13. 只回 JSON，格式照指定的 schema。)"};

} // namespace

QString aiPromptRules(const QString& name, AILanguage language) {
    const auto& pieces = language == AILanguage::zh ? summaryZh : summaryEn;
    return summaryRules(name, name, pieces.languageRule, name, name, pieces.otherPerson, pieces.example, pieces.noteTag,
                        pieces.numbersRule);
}

QString coachPromptRules(const QString& name, AILanguage language) {
    const auto& pieces = language == AILanguage::zh ? coachZh : coachEn;
    return coachRules(name, name, pieces.languageRule, pieces.missedNote);
}

} // namespace copy::Strings
