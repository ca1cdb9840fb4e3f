// summary.json and the summary tool's answer from anywhere: nothing, an error, or a summary within its limits that
// reads back as it was stored.
#include "Require.h"
#include "ai/ClaudeReply.h"
#include "ai/LastLine.h"
#include "ai/MeetingSummary.h"
#include "ai/SummaryStep.h"
#include "base/Text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

void view(const ai::MeetingSummary& summary) {
    require(summary.orderedActions().size() == summary.actions.size());
    require(!summary.plainText(copy::MainCopy::zh).isEmpty());
}

void readFile(QByteArrayView bytes) {
    if (const auto summary = ai::MeetingSummary::parse(bytes)) {
        view(*summary);
    }
}

void requireClean(const QString& text) {
    require(!text.isEmpty() && base::Text::trimmed(text) == text);
    require(!text.contains(u'\n') && !text.contains(u'—') && !text.contains(u'–'));
}

void readReply(QByteArrayView bytes) {
    const auto reply = ai::AIPipeline::parseReply(bytes);
    const auto object = reply ? ai::AIPipeline::summaryObject(*reply, {}) : std::unexpected(reply.error());
    if (!object) {
        require(!object.error().message.isEmpty());
        return;
    }
    const auto summary = ai::MeetingSummary::parse(base::writeJson(*object));
    require(summary.has_value());
    require(summary->otherActions().size() <= ai::AIPipeline::maxOtherActions);
    require(summary->points.size() <= ai::AIPipeline::maxPoints);
    require(summary->decisions.size() <= ai::AIPipeline::maxDecisions);
    require(summary->notes.size() <= ai::AIPipeline::maxNotes);
    for (const auto& action : summary->actions) {
        requireClean(action.what);
    }
    for (const auto& text : summary->pointTexts()) {
        requireClean(text);
    }
    view(*summary);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    readFile(bytes);
    readReply(bytes);
    require(base::Text::characterCount(ai::AIPipeline::lastLine(bytes)) <= ai::AIPipeline::lastLineLength + 1);
    return 0;
}
