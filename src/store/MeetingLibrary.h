// Turns meeting folders into records and applies the user's edits.
//   Reading  asks the disk at each call and never fails upwards: the worst case is a record without meta, which can be
//            looked at and not edited. A link among the meetings is no meeting. Notes, transcripts and shots are left
//            alone by everything that does not name them
//   Editing  changes the named keys of meta.json and copies all others through to the letter; a file that is not
//            understood is never overwritten; after a failure the old content stands
//   Threads  any; no state
#pragma once

#include "base/Files.h"
#include "store/MeetingRecord.h"
#include "store/MeetingShot.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QDateTime>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <QTimeZone>

#include <expected>
#include <filesystem>
#include <optional>
#include <vector>

namespace store::MeetingLibrary {

/// Standardized paths (base::standardizedText), the identity of folders.
using FolderSet = QSet<QString>;

/// The newest first; records without a start last, equal starts by the folder's name, later names first. Folders whose
/// standardized path is in `skipping` are left out, and so are hidden ones.
[[nodiscard]] std::vector<MeetingRecord> load(const std::filesystem::path& meetings, const FolderSet& skipping = {},
                                              const QTimeZone& timeZone = QTimeZone::systemTimeZone());
[[nodiscard]] MeetingRecord record(const std::filesystem::path& folder,
                                   const QTimeZone& timeZone = QTimeZone::systemTimeZone());
/// What the bytes of a meta.json tell: a record without its folder, and without a start where they have none; nullopt
/// if they are no JSON object. Pure.
[[nodiscard]] std::optional<MeetingRecord> recordFromMeta(QByteArrayView meta);
/// The folder of the newest meeting; nullopt if there is none.
[[nodiscard]] std::optional<std::filesystem::path> latestFolder(const std::filesystem::path& meetings);

/// The moment of an ISO 8601 internet date-time, in UTC; see Timestamp.
[[nodiscard]] std::optional<QDateTime> parseDate(QStringView text);
/// The moment that the first 15 characters of a folder's name tell; see MeetingNaming::startFromBaseName.
[[nodiscard]] std::optional<QDateTime> startFromName(QStringView name,
                                                     const QTimeZone& timeZone = QTimeZone::systemTimeZone());
/// The "end" of a folder's meta.json; nullopt for anything but a date.
[[nodiscard]] std::optional<QDateTime> endDate(const std::filesystem::path& folder);

/// By seconds, equal ones by file name.
[[nodiscard]] std::vector<MeetingShot> shots(const MeetingRecord& record);

/// What an edit changes; an empty field changes nothing, an empty text clears.
struct Edit {
    std::optional<QString> note{}; ///< is trimmed
    std::optional<QString> type{};
    std::optional<QStringList> people{}; ///< go through cleanNames
};

struct EditError {
    enum class Kind {
        NoMeta,     ///< there is no meta.json to edit
        Unreadable, ///< it is not understood, and stays as it is
        System      ///< the file system refused
    };
    Kind kind = Kind::System;
    QString text; ///< for the user
    bool operator==(const EditError&) const = default;
};

/// The bytes of a meta.json with an edit in it, and everything else to the letter. Pure.
[[nodiscard]] std::expected<QByteArray, EditError> patched(QByteArrayView meta, const Edit& edit);
[[nodiscard]] std::expected<void, EditError> update(const MeetingRecord& record, const Edit& edit);
/// Trimmed, without empty names, each name once whatever its case: the first spelling stays, and so does the order.
[[nodiscard]] QStringList cleanNames(const QStringList& names);

/// notes.md; empty if there is none or it is no UTF-8 text.
[[nodiscard]] QString readNotes(const MeetingRecord& record);
/// Empty notes make no file, but empty an existing one. Notes that are there and can't be read as text are copied to
/// "notes.md.damaged" (or a numbered name) before they are replaced.
[[nodiscard]] std::expected<void, base::FileError> writeNotes(const QString& text, const MeetingRecord& record);

/// Moves the folder to the trash.
[[nodiscard]] std::expected<void, base::FileError> trash(const MeetingRecord& record, const QDateTime& now);

} // namespace store::MeetingLibrary
