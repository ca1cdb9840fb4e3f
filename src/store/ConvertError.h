// Why a finished track did not become an m4a.
//   Threads  any; plain values
#pragma once

#include <QString>

#include <expected>
#include <filesystem>
#include <functional>
#include <optional>

namespace store {

enum class ConvertError {
    Empty ///< the track never got a frame
};

[[nodiscard]] inline QString convertErrorText(ConvertError error) {
    switch (error) {
    case ConvertError::Empty:
        break;
    }
    return QStringLiteral("no audio in the file");
}

struct ConvertFailure {
    std::optional<ConvertError> reason; ///< nullopt: a file could not be read or written
    QString text;
    bool operator==(const ConvertFailure&) const = default;
};

/// Makes an m4a of a CAF and gives the length of its sound in seconds. After success the m4a is on the disk under its
/// name, so that the CAF may go; after a failure the CAF is what it was.
using ConvertToM4A = std::function<std::expected<double, ConvertFailure>(const std::filesystem::path& caf,
                                                                         const std::filesystem::path& m4a)>;

} // namespace store
