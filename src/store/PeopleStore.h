// The list of names that the form offers, in people.json, which the user may also edit by hand.
//   Care     each change reads the file first, so that hand edits count; a file that is there but can't be understood
//            is never overwritten
//   Threads  the main thread
#pragma once

#include "base/Files.h"
#include "store/PeopleFile.h"

#include <expected>
#include <optional>
#include <variant>

namespace store {

enum class PeopleError { unreadable };

[[nodiscard]] QString errorDescription(PeopleError error);

/// Why a name was not added: the list refused, or the disk did.
using PeopleFailure = std::variant<PeopleError, base::FileError>;
/// The text for the user.
[[nodiscard]] QString errorText(const PeopleFailure& failure);

class PeopleStore {
public:
    /// Doesn't touch the disk.
    explicit PeopleStore(base::fs::path url) : m_url(std::move(url)) {}

    [[nodiscard]] const base::fs::path& url() const { return m_url; }

    /// The last content read or written; empty before the first load() and while the file is unreadable.
    [[nodiscard]] const PeopleFile& file() const { return m_file; }

    /// False exactly when the file is there and couldn't be read or understood.
    [[nodiscard]] bool readable() const { return m_readable; }

    [[nodiscard]] const QStringList& names() const { return m_file.people; }

    /// Makes the file, and its folder, if it is missing. A failure shows at the next add().
    void ensureFile();
    void load();
    /// The name as it was added, trimmed; nullopt if it is empty or there already. On the disk when this returns.
    [[nodiscard]] std::expected<std::optional<QString>, PeopleFailure> add(const QString& name);

private:
    base::fs::path m_url;
    PeopleFile m_file;
    bool m_readable = true;
};

} // namespace store
