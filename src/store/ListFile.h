// A small file of the user's that the program reads and extends, but never overwrites when it can't understand it.
//   Threads  any; no state
#pragma once

#include "base/Files.h"

#include <optional>

namespace store {

/// What a read found at a path.
template<typename Content>
struct ListFileReading {
    std::optional<Content> content; ///< nullopt: missing, or not to be understood
    bool readable = true;           ///< false exactly when something is there that can't be read or understood
};

/// Whether there is anything of that name, a link that leads nowhere included: what a link points to may only be away
/// for the moment (an unplugged disk), and a new file in its place would hide it for good.
[[nodiscard]] bool somethingAt(const base::fs::path& path);

template<typename Content>
[[nodiscard]] ListFileReading<Content> readListFile(const base::fs::path& path) {
    const auto bytes = base::readFile(path);
    if (!bytes) {
        return {std::nullopt, !somethingAt(path)};
    }
    auto content = Content::decode(*bytes);
    const bool understood = content.has_value();
    return {std::move(content), understood};
}

/// Writes the file with what it holds at the very start, unless something is there. Failures show at the next change.
void ensureListFile(const base::fs::path& path, const QByteArray& bytes);

} // namespace store
