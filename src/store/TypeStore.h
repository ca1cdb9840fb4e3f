// The list of meeting types, in types.json, which the user may also edit by hand.
//   Key      the name; renaming or removing a type is followed by a walk over the meetings that carry it. rename() and
//            remove() walk at once; startRename() and startRemoval() hand the walk back, for a TypeRewriter that keeps
//            the window alive
//   Care     each change reads the file first, so that hand edits count; a file that is there but can't be understood
//            is never overwritten. A failed change leaves list and meetings as they were
//   Threads  the main thread
#pragma once

#include "base/Files.h"
#include "store/MeetingRecord.h"
#include "store/TypeError.h"
#include "store/TypeRename.h"
#include "store/TypesFile.h"

#include <QStringList>

#include <expected>
#include <optional>
#include <span>
#include <utility>

namespace store {

class TypeStore {
public:
    template<typename Value>
    using Result = std::expected<Value, TypeFailure>;

    /// With the seed; doesn't touch the disk.
    explicit TypeStore(base::fs::path url) : m_url(std::move(url)), m_file(TypesFile::seed()) {}

    [[nodiscard]] const base::fs::path& url() const { return m_url; }

    /// The last content read or written: the seed while there is no file, nothing while it is unreadable.
    [[nodiscard]] const TypesFile& file() const { return m_file; }

    /// False exactly when the file is there and couldn't be read or understood.
    [[nodiscard]] bool readable() const { return m_readable; }

    [[nodiscard]] QStringList names() const;
    [[nodiscard]] std::optional<MeetingType> type(QStringView named) const;
    /// The first colour that no type uses; gray when all are in use.
    [[nodiscard]] QString nextColor() const;

    /// Writes the seed, and the folder, if the file is missing. A failure shows at the next change.
    void ensureFile();
    void load();

    /// The name as it was added, trimmed. Without a colour the next free one.
    [[nodiscard]] Result<QString> add(const QString& name, const std::optional<QString>& color = std::nullopt);
    /// Colour and place stay. 0 and 0 if the trimmed name is the old one.
    [[nodiscard]] Result<TypeChange> rename(const QString& name, const QString& to, const base::fs::path& meetings);
    /// Its meetings become uncategorised.
    [[nodiscard]] Result<TypeChange> remove(const QString& name, const base::fs::path& meetings);
    /// Changes the list alone; nullopt if the trimmed name is the old one and nothing is to be done.
    [[nodiscard]] Result<std::optional<TypeRename>> startRename(const QString& name, const QString& to,
                                                                const base::fs::path& meetings);
    [[nodiscard]] Result<TypeRename> startRemoval(const QString& name, const base::fs::path& meetings);
    /// Any text is taken as a colour.
    [[nodiscard]] Result<void> setColor(const QString& color, QStringView name);
    /// Takes the type at `from` out and puts it in at `to` of those left, or at the nearest end. Nothing happens
    /// without a type at `from`.
    [[nodiscard]] Result<void> move(qsizetype from, qsizetype to);

    /// How many of the meetings have that type; nullopt counts those without one.
    [[nodiscard]] static int count(const std::optional<QString>& type, std::span<const MeetingRecord> meetings);

private:
    [[nodiscard]] Result<void> loadForChange();
    [[nodiscard]] Result<std::size_t> indexOf(QStringView name) const;
    [[nodiscard]] Result<QString> clean(const QString& wanted, const std::optional<QString>& own) const;
    [[nodiscard]] Result<void> write(TypesFile changed);

    base::fs::path m_url;
    TypesFile m_file;
    bool m_readable = true;
};

} // namespace store
