// The content of types.json: the meeting types, in the user's order.
//   Format   {"types": [{"name": "Work", "color": "blue"}]}, pretty-printed, the name before the colour, UTF-8
//   Threads  any; plain values
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>
#include <vector>

namespace store {

struct MeetingType {
    QString name;  ///< also the key by which a meeting refers to it
    QString color; ///< the raw value of a TypeColor; a file may hold any text
    bool operator==(const MeetingType&) const = default;
};

struct TypesFile {
    std::vector<MeetingType> types;
    bool operator==(const TypesFile&) const = default;

    /// The list at the very start, in the language that the interface had when it was first asked for.
    [[nodiscard]] static const TypesFile& seed();
    /// nullopt for anything but an object whose "types" is a list of objects with two texts. Other keys are ignored.
    [[nodiscard]] static std::optional<TypesFile> decode(QByteArrayView bytes);
    [[nodiscard]] QByteArray data() const;
};

} // namespace store
