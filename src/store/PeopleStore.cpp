#include "store/PeopleStore.h"

#include "copy/Strings.h"
#include "store/ListFile.h"

#include <utility>

namespace store {

QString errorDescription(PeopleError error) {
    switch (error) {
    case PeopleError::unreadable:
        return copy::Strings::peopleBroken;
    }
    Q_UNREACHABLE();
}

QString errorText(const PeopleFailure& failure) {
    if (const auto* refused = std::get_if<PeopleError>(&failure)) {
        return errorDescription(*refused);
    }
    return copy::Strings::peopleWriteFailed(std::get<base::FileError>(failure).text);
}

void PeopleStore::ensureFile() {
    ensureListFile(m_url, PeopleFile{}.data());
}

void PeopleStore::load() {
    auto reading = readListFile<PeopleFile>(m_url);
    m_file = std::move(reading.content).value_or(PeopleFile{});
    m_readable = reading.readable;
}

std::expected<std::optional<QString>, PeopleFailure> PeopleStore::add(const QString& name) {
    load();
    if (!m_readable) {
        return std::unexpected(PeopleError::unreadable);
    }
    auto changed = m_file.adding(name);
    if (!changed) {
        return std::nullopt;
    }
    if (const auto written = base::replaceFile(m_url, changed->data()); !written) {
        return std::unexpected(written.error());
    }
    m_file = std::move(*changed);
    return m_file.people.last();
}

} // namespace store
