// The ways in which a small JSON file can be damaged, hostile or in the way, for the tests of every list that lives in
// one.
#pragma once

#include "base/Files.h"
#include "fakes/TemporaryFolder.h"

#include <QByteArray>

#include <string>
#include <vector>

namespace badfiles {

struct BadBytes {
    std::string name; ///< for the test's own name
    QByteArray bytes;
};

/// `list` is a value that the key `key` may have: `["Ann"]`.
[[nodiscard]] inline std::vector<BadBytes> contents(const QByteArray& key, const QByteArray& list) {
    const QByteArray opening = "{\"" + key + "\": ";
    return {
        {"Empty", ""},
        {"Blanks", " \n\t"},
        {"NoJson", "Ann, Bob"},
        {"Null", "null"},
        {"ListAtTheTop", list},
        {"NoSuchKey", "{}"},
        {"KeyInOtherCase", "{\"" + key.toUpper() + "\": " + list + "}"},
        {"NullList", opening + "null}"},
        {"NumberForList", opening + "3}"},
        {"TextForList", opening + "\"Ann\"}"},
        {"ObjectForList", opening + "{}}"},
        {"NumberAmongTheElements", opening + "[3]}"},
        {"NullAmongTheElements", opening + "[null]}"},
        {"LastOfEqualKeysIsWrong", "{\"" + key + "\": " + list + ", \"" + key + "\": 3}"},
        {"TrailingComma", opening + list + ",}"},
        {"TextAfterTheEnd", opening + list + "} x"},
        {"TwoDocuments", opening + list + "}" + opening + list + "}"},
        {"NotUtf8", opening + "[\"A\xFFnn\"]}"},
        {"Utf16", QByteArray("{\0\"\0a\0\"\0", 8)},
        {"NulInside", opening + list + QByteArray("}\0", 2)},
        {"DeepList", opening + QByteArray(100000, '[') + QByteArray(100000, ']') + "}"},
        {"DeepUnknownKey",
         "{\"x\": " + QByteArray(100000, '[') + QByteArray(100000, ']') + ", \"" + key + "\": " + list + "}"},
        {"DeepAndUnclosed", QByteArray(100000, '{')},
    };
}

/// Things of the right name that are no readable file.
enum class Obstacle { Folder, LinkToItself, LinkToNothing, TooLarge };

inline constexpr Obstacle obstacles[] = {Obstacle::Folder, Obstacle::LinkToItself, Obstacle::LinkToNothing,
                                         Obstacle::TooLarge};

inline void put(Obstacle obstacle, const base::fs::path& path) {
    switch (obstacle) {
    case Obstacle::Folder:
        base::fs::create_directory(path);
        return;
    case Obstacle::LinkToItself:
        base::fs::create_symlink(path.filename(), path);
        return;
    case Obstacle::LinkToNothing:
        base::fs::create_symlink("away", path);
        return;
    case Obstacle::TooLarge:
        [[maybe_unused]] const auto made = base::replaceFile(path, "{");
        base::fs::resize_file(path, base::readLimit + 1);
        return;
    }
}

/// Whether it is still there as put() left it.
[[nodiscard]] inline bool stands(Obstacle obstacle, const base::fs::path& path) {
    switch (obstacle) {
    case Obstacle::Folder:
        return base::fs::is_directory(path);
    case Obstacle::LinkToItself:
    case Obstacle::LinkToNothing:
        return base::fs::is_symlink(path);
    case Obstacle::TooLarge:
        return base::fs::file_size(path) == base::readLimit + 1;
    }
    return false;
}

} // namespace badfiles
