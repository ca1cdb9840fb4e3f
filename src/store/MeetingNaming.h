// Names of meeting folders and screenshots. They are part of the data: a folder's name tells its start minute and its
// note, and dates are read back from it.
//   Units    dates are moments; the zone they are written in is an argument. Characters are grapheme clusters
//   Threads  any; no state
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringView>
#include <QTimeZone>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>

namespace store::MeetingNaming {

/// Characters of a note that go into a folder's name.
inline constexpr qsizetype maxNoteLength = 40;

/// "yyyy_MM_dd_HHmm" of the start.
[[nodiscard]] QString baseName(const QDateTime& start, const QTimeZone& timeZone);
/// The moment that the first 15 characters of a folder's name tell, in UTC; nullopt if they are no base name. A minute
/// that daylight saving repeats is taken the second time, one that it skips counts on from the hour before.
[[nodiscard]] std::optional<QDateTime> startFromBaseName(QStringView name, const QTimeZone& timeZone);

/// What of a note can stand in a file name; empty if it gives no title. Separators and invisible characters become
/// single "_", and no dot leads, which would hide the folder.
[[nodiscard]] QString slug(QStringView note);
/// baseName + "_" + slug, or + "_" + copy::Strings::untitled where there is none.
[[nodiscard]] QString folderName(const QDateTime& start, const std::optional<QString>& note, const QTimeZone& timeZone);
/// baseName + "_" + copy::Strings::practiceFolder.
[[nodiscard]] QString practiceFolderName(const QDateTime& start, const QTimeZone& timeZone);

/// Whether the name is that of a practice take, with or without a number behind it.
[[nodiscard]] bool isPracticeFolder(const QString& name);
/// Whether the name is one that no form has finished: a base name, with or without a number behind it.
[[nodiscard]] bool isUnfinishedFolder(const QString& name);

/// "shot_0030s.jpg", from the second attempt on "shot_0030s_2.jpg". Seconds below 0 count as 0.
[[nodiscard]] QString shotName(std::int64_t seconds, int attempt);

/// `name` in `folder`, else the first free of name_2, name_3 and so on; `exists` says which are taken.
[[nodiscard]] std::filesystem::path uniqueURL(const std::filesystem::path& folder, const QString& name,
                                              const std::function<bool(const std::filesystem::path&)>& exists);

} // namespace store::MeetingNaming
