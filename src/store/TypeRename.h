// What the meetings have to follow after a change of the list of types.
//   Threads  any; plain values
#pragma once

#include "base/Files.h"

#include <QString>

#include <optional>

namespace store {

/// The list has changed already; the meetings under `meetings` still carry the name `from`.
struct TypeRename {
    base::fs::path meetings; ///< the folder of all meetings
    QString from;
    std::optional<QString> to; ///< nullopt: they become uncategorised
    bool operator==(const TypeRename&) const = default;
};

/// What became of the meetings that had the type.
struct TypeChange {
    int changed = 0;
    int failed = 0; ///< their meta.json couldn't be written; they still have the old name
    bool operator==(const TypeChange&) const = default;
};

} // namespace store
