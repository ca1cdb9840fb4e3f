#include "store/MeetingRecord.h"

#include "base/TextSearch.h"
#include "copy/Strings.h"
#include "store/Retention.h"

#include <algorithm>
#include <system_error>

namespace store {

QString MeetingRecord::title() const {
    return note.value_or(copy::Strings::untitled);
}

bool MeetingRecord::matches(QStringView query) const {
    const QStringList wanted = base::TextSearch::words(query);
    if (wanted.isEmpty()) {
        return true;
    }
    const QStringList lines = QStringList{title(), note.value_or(QString())} + people;
    const QString text = base::TextSearch::folded(lines.join(u'\n'));
    return std::ranges::all_of(wanted, [&text](const QString& word) {
        const QString folded = base::TextSearch::folded(word);
        return !folded.isEmpty() && text.contains(folded);
    });
}

bool MeetingRecord::audioExpired(const QDateTime& now) const {
    return start && Retention::isExpired(*start, now);
}

bool MeetingRecord::shotsExpired(const QDateTime& now) const {
    std::error_code ignored;
    return screenshotsEnabled && audioExpired(now) && !std::filesystem::exists(shotsURL(), ignored);
}

} // namespace store
