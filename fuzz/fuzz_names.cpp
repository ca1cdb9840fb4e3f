// Texts from anywhere in the small languages of the store: stamps, names of folders and screenshots, the lock.
#include "Require.h"
#include "base/Files.h"
#include "base/Text.h"
#include "base/TextSearch.h"
#include "store/MeetingNaming.h"
#include "store/MeetingShot.h"
#include "store/RecordingLock.h"
#include "store/Timestamp.h"

#include <cstddef>
#include <cstdint>

using namespace Qt::StringLiterals;

namespace {

void checkStamp(const QString& text) {
    if (const auto date = store::Timestamp::parse(text)) {
        require(store::Timestamp::parse(store::Timestamp::text(*date, QTimeZone::utc())) == date);
    }
}

void checkSlug(const QString& text) {
    const QString slug = store::MeetingNaming::slug(text);
    require(base::Text::characterCount(slug) <= store::MeetingNaming::maxNoteLength);
    require(!slug.startsWith(u'.') && !slug.endsWith(u'_') && !slug.contains(u'/') && !slug.contains(QChar(0)));
    const base::fs::path name = base::pathFrom(slug);
    require(slug.isEmpty() || name.filename() == name);
}

void checkNames(const QString& text) {
    static const QTimeZone zone("Europe/Berlin");
    if (const auto start = store::MeetingNaming::startFromBaseName(text, zone)) {
        require(start->isValid());
    }
    if (const auto seconds = store::MeetingShot::secondsFromName(text)) {
        require(text.startsWith(u"shot_"));
    }
    std::ignore = store::MeetingNaming::isPracticeFolder(text);
    std::ignore = store::MeetingNaming::isUnfinishedFolder(text);
}

void checkLock(const QString& text) {
    const auto folder = store::RecordingLock::folderPath(text);
    require(!folder || !folder->isEmpty());
    const bool live = store::RecordingLock::isLive("/a", text, [](auto) { return true; });
    require(!live || (store::RecordingLock::parse(text) && folder));
}

void checkSearch(const QString& text) {
    const QString word = text.left(3);
    require(base::TextSearch::contains(text, word) == base::TextSearch::find(text, word).has_value() || text.isEmpty());
    if (const auto range = base::TextSearch::find(text, word)) {
        require(range->location >= 0 && range->length > 0 && range->location + range->length <= text.size());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString text = QString::fromUtf8(QByteArrayView(data, static_cast<qsizetype>(size)));
    checkStamp(text);
    checkSlug(text);
    checkNames(text);
    checkLock(text);
    checkSearch(text);
    return 0;
}
