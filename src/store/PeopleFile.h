// The content of people.json: the names that the form offers.
//   Format   {"people": ["Ann", "Bob"]}, pretty-printed, keys sorted, UTF-8
//   Threads  any; a plain value
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QStringList>

#include <optional>

namespace store {

struct PeopleFile {
    QStringList people; ///< in the order of adding, never sorted
    bool operator==(const PeopleFile&) const = default;

    /// nullopt for anything but an object whose "people" is a list of texts. Other keys are ignored.
    [[nodiscard]] static std::optional<PeopleFile> decode(QByteArrayView bytes);
    [[nodiscard]] QByteArray data() const;
    /// With the trimmed name at the end; nullopt if nothing is left of it or the list holds it already, whatever its
    /// case.
    [[nodiscard]] std::optional<PeopleFile> adding(const QString& name) const;
};

} // namespace store
