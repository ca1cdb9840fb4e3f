#include "store/MeetingLibrary.h"

#include "base/Handle.h"
#include "base/Json.h"
#include "base/Text.h"
#include "copy/Strings.h"
#include "store/AppPaths.h"
#include "store/MeetingArchive.h"
#include "store/MeetingMeta.h"
#include "store/MeetingNaming.h"
#include "store/Subfolders.h"
#include "store/Timestamp.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <system_error>

namespace store::MeetingLibrary {

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

std::optional<QString> textAt(const base::Json& meta, QStringView key) {
    const base::Json* found = meta.find(key);
    return found != nullptr ? found->toString() : std::nullopt;
}

std::optional<QString> noteAt(const base::Json& meta) {
    const QString note = base::Text::trimmed(textAt(meta, u"note").value_or(QString()));
    return note.isEmpty() ? std::nullopt : std::optional(note);
}

QStringList peopleAt(const base::Json& meta) {
    QStringList people;
    const base::Json* found = meta.find(u"people");
    const base::Json::Array* elements = found != nullptr ? found->toArray() : nullptr;
    if (elements != nullptr) {
        people.reserve(static_cast<qsizetype>(elements->size()));
        for (const base::Json& element : *elements) {
            if (auto name = element.toString()) {
                people.append(std::move(*name));
            }
        }
    }
    return people;
}

std::optional<base::Json> objectOf(QByteArrayView bytes) {
    auto json = base::parseJson(bytes);
    return json && json->isObject() ? std::optional(std::move(*json)) : std::nullopt;
}

bool isGone(const fs::path& path) {
    struct stat status{};
    return ::lstat(path.c_str(), &status) != 0 && errno == ENOENT;
}

MeetingRecord fieldsOf(const base::Json& meta) {
    const base::Json* duration = meta.find(u"duration");
    const base::Json* shots = meta.find(u"screenshotsEnabled");
    const auto start = textAt(meta, u"start");
    return {.folder = {},
            .hasMeta = true,
            .start = start ? Timestamp::parse(*start) : std::nullopt,
            .duration = duration != nullptr ? duration->toDouble() : std::nullopt,
            .type = textAt(meta, u"type"),
            .people = peopleAt(meta),
            .note = noteAt(meta),
            .screenshotsEnabled = shots == nullptr || shots->toBool().value_or(true),
            .practice = textAt(meta, u"mode") == MeetingMeta::practiceMode};
}

MeetingRecord recordOf(std::optional<MeetingRecord> told, fs::path folder, const QTimeZone& timeZone) {
    MeetingRecord record = told ? *std::move(told) : MeetingRecord();
    record.folder = std::move(folder);
    if (!record.start) {
        record.start = startFromName(base::nameText(record.folder), timeZone);
    }
    return record;
}

/// A first copy of `file` under a name that is free.
std::expected<void, base::FileError> setAside(const fs::path& file) {
    const fs::path copy =
        MeetingNaming::uniqueURL(file.parent_path(), base::nameText(file) + u".damaged", base::nameTaken);
    std::error_code error;
    fs::copy_file(file, copy, error);
    if (error) {
        return std::unexpected(base::fileError(error.value()));
    }
    if (auto flushed = base::flushFile(copy); !flushed) {
        return flushed;
    }
    return base::flushFolder(copy.parent_path());
}

std::vector<MeetingRecord> newestFirst(std::vector<MeetingRecord> records) {
    struct Place {
        std::int64_t start;
        std::size_t index;
    };

    std::vector<Place> places;
    places.reserve(records.size());
    for (const MeetingRecord& record : records) {
        // Without a start it sorts as the most distant past.
        const auto start = record.start ? record.start->toMSecsSinceEpoch() : std::numeric_limits<std::int64_t>::min();
        places.push_back({start, places.size()});
    }
    std::ranges::sort(places, [&records](const Place& left, const Place& right) {
        return left.start != right.start
                   ? left.start > right.start
                   : records[left.index].folder.filename().native() > records[right.index].folder.filename().native();
    });
    std::vector<MeetingRecord> sorted;
    sorted.reserve(records.size());
    for (const Place& place : places) {
        sorted.push_back(std::move(records[place.index]));
    }
    return sorted;
}

std::unexpected<EditError> failure(EditError::Kind kind, const QString& text) {
    return std::unexpected(EditError{kind, text});
}

base::Json textOrNull(const QString& text) {
    return text.isEmpty() ? base::Json() : base::Json(text);
}

} // namespace

std::vector<MeetingRecord> load(const fs::path& meetings, const FolderSet& skipping, const QTimeZone& timeZone) {
    const fs::path identity = base::standardized(meetings);
    const base::FileDescriptor listed(::open(meetings.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::vector<std::string> names = subfolderNames(meetings);
    std::vector<MeetingRecord> records;
    records.reserve(names.size());
    for (const std::string& name : names) {
        if (!skipping.isEmpty() && skipping.contains(base::pathText(identity / name))) {
            continue;
        }
        const auto bytes = base::readFileAt(listed.get(), name + "/meta.json", MeetingArchive::metaLimit);
        auto told = bytes ? recordFromMeta(*bytes) : std::nullopt;
        fs::path folder = meetings / name;
        if (told || !isGone(folder)) { // it may go while we look
            records.push_back(recordOf(std::move(told), std::move(folder), timeZone));
        }
    }
    return newestFirst(std::move(records));
}

MeetingRecord record(const fs::path& folder, const QTimeZone& timeZone) {
    const auto bytes = base::readFile(MeetingArchive::metaURL(folder), MeetingArchive::metaLimit);
    return recordOf(bytes ? recordFromMeta(*bytes) : std::nullopt, folder, timeZone);
}

std::optional<MeetingRecord> recordFromMeta(QByteArrayView meta) {
    const auto object = objectOf(meta);
    return object ? std::optional(fieldsOf(*object)) : std::nullopt;
}

std::optional<fs::path> latestFolder(const fs::path& meetings) {
    const auto records = load(meetings);
    return records.empty() ? std::nullopt : std::optional(records.front().folder);
}

std::optional<QDateTime> parseDate(QStringView text) {
    return Timestamp::parse(text);
}

std::optional<QDateTime> startFromName(QStringView name, const QTimeZone& timeZone) {
    return MeetingNaming::startFromBaseName(name, timeZone);
}

std::optional<QDateTime> endDate(const fs::path& folder) {
    const auto bytes = base::readFile(MeetingArchive::metaURL(folder), MeetingArchive::metaLimit);
    const auto meta = bytes ? objectOf(*bytes) : std::nullopt;
    const auto end = meta ? textAt(*meta, u"end") : std::nullopt;
    return end ? Timestamp::parse(*end) : std::nullopt;
}

std::vector<MeetingShot> shots(const MeetingRecord& record) {
    std::vector<MeetingShot> found;
    std::error_code error;
    for (fs::directory_iterator entry(record.shotsURL(), error), end; !error && entry != end; entry.increment(error)) {
        // Hidden names have another beginning.
        if (const auto seconds = MeetingShot::secondsFromName(base::nameText(entry->path()))) {
            found.push_back({entry->path(), *seconds});
        }
    }
    if (error) {
        return {};
    }
    std::ranges::sort(found, [](const MeetingShot& left, const MeetingShot& right) {
        return left.seconds != right.seconds ? left.seconds < right.seconds
                                             : left.url.filename().native() < right.url.filename().native();
    });
    return found;
}

std::expected<QByteArray, EditError> patched(QByteArrayView meta, const Edit& edit) {
    auto object = objectOf(meta);
    if (!object) {
        return failure(EditError::Kind::Unreadable, copy::Strings::mainMetaBroken);
    }
    if (edit.note) {
        object->set(u"note"_s, textOrNull(base::Text::trimmed(*edit.note)));
    }
    if (edit.type) {
        object->set(u"type"_s, textOrNull(*edit.type));
    }
    if (edit.people) {
        object->set(u"people"_s, base::Json(cleanNames(*edit.people)));
    }
    return base::writeJson(*object);
}

std::expected<void, EditError> update(const MeetingRecord& record, const Edit& edit) {
    const auto bytes = base::readFile(record.metaURL(), MeetingArchive::metaLimit);
    if (!bytes && bytes.error().kind == base::FileError::Kind::TooLarge) {
        return failure(EditError::Kind::Unreadable, copy::Strings::mainMetaBroken);
    }
    if (!bytes) {
        return failure(EditError::Kind::NoMeta, copy::Strings::mainNoMeta);
    }
    const auto after = patched(*bytes, edit);
    if (!after) {
        return std::unexpected(after.error());
    }
    if (const auto written = base::replaceFile(record.metaURL(), *after); !written) {
        return failure(EditError::Kind::System, written.error().text);
    }
    return {};
}

QStringList cleanNames(const QStringList& names) {
    QStringList kept;
    for (const QString& name : names) {
        const QString trimmed = base::Text::trimmed(name);
        const auto isKept = [&trimmed](const QString& other) { return base::Text::equalIgnoringCase(other, trimmed); };
        if (!trimmed.isEmpty() && std::ranges::none_of(kept, isKept)) {
            kept.append(trimmed);
        }
    }
    return kept;
}

QString readNotes(const MeetingRecord& record) {
    return base::readText(record.notesURL()).value_or(QString());
}

std::expected<void, base::FileError> writeNotes(const QString& text, const MeetingRecord& record) {
    const auto present = base::readText(record.notesURL());
    const bool missing = !present && present.error().kind == base::FileError::Kind::Missing;
    if (missing && text.isEmpty()) {
        return {};
    }
    if (!present && !missing) {
        if (auto copied = setAside(record.notesURL()); !copied) {
            return copied;
        }
    }
    return base::replaceFile(record.notesURL(), text.toUtf8());
}

std::expected<void, base::FileError> trash(const MeetingRecord& record, const QDateTime& now) {
    return AppPaths::trashItem(record.folder, now);
}

} // namespace store::MeetingLibrary
