#include "jobs/FoldedMeeting.h"

#include "base/Files.h"
#include "base/Json.h"
#include "base/Text.h"
#include "base/TextSearch.h"
#include "copy/MainCopy.h"
#include "jobs/MeetingContent.h"
#include "store/MeetingLibrary.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace jobs {

namespace TextSearch = base::TextSearch;

namespace {

std::string_view viewOf(const QByteArray& bytes) {
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

void append(std::string& text, const QString& line) {
    TextSearch::appendFolded(text, viewOf(line.toUtf8()));
}

/// Whether something was there to append.
bool appendSummary(std::string& text, const store::MeetingRecord& record) {
    const QString summary = MeetingContent::summaryText(record);
    append(text, summary);
    return !summary.isEmpty();
}

/// As Transcript::parse reads it, but for what makes no difference here: the order of lines, and blanks around them.
bool appendTranscript(std::string& text, const store::MeetingRecord& record) {
    const auto bytes = base::readFile(record.transcriptURL(), ai::Transcript::sizeLimit);
    if (!bytes) {
        return false;
    }
    bool isThere = false;
    [[maybe_unused]] const bool isUnderstood = base::visitTexts(*bytes, "segments", "text", [&](std::string_view line) {
        text += '\n';
        TextSearch::appendFolded(text, line);
        isThere = isThere || !base::Text::trimmed(QString::fromUtf8(line.data(), std::ssize(line))).isEmpty();
    });
    return isThere;
}

} // namespace

FoldedMeeting FoldedMeeting::of(const store::MeetingRecord& record) {
    FoldedMeeting meeting;
    append(meeting.text, MeetingContent::ownText(record));
    meeting.ownLength = meeting.text.size();
    return meeting;
}

FoldedMeeting FoldedMeeting::withOwnTextOf(const store::MeetingRecord& record) const {
    FoldedMeeting meeting = of(record);
    meeting.text.append(text, ownLength);
    meeting.hasTranscript = hasTranscript;
    meeting.hasSummary = hasSummary;
    return meeting;
}

FoldedMeeting FoldedMeeting::read(const store::MeetingRecord& record) {
    FoldedMeeting meeting = of(record);
    std::string& text = meeting.text;
    text += '\n';
    append(text, store::MeetingLibrary::readNotes(record));
    text += '\n';
    meeting.hasSummary = appendSummary(text, record);
    meeting.hasTranscript = appendTranscript(text, record);
    text.shrink_to_fit();
    return meeting;
}

std::vector<std::string> FoldedMeeting::words(QStringView query) {
    std::vector<std::string> folded;
    for (const QString& word : MeetingContent::words(query)) {
        folded.push_back(TextSearch::folded(word).toStdString());
    }
    return folded;
}

bool FoldedMeeting::matches(const std::vector<std::string>& words) const {
    return std::ranges::all_of(
        words, [this](const std::string& word) { return !word.empty() && text.find(word) != std::string::npos; });
}

} // namespace jobs
