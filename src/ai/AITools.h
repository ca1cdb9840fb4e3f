// Where the two command-line tools are that do all AI work.
//   Cost     current() looks at a few files each time it is asked, so that a tool installed while the program runs is
//            found at the next job
//   Threads  any; the environment must not be changed while threads run
#pragma once

#include <QString>

#include <filesystem>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace ai {

struct AITools {
    using Path = std::filesystem::path;
    using Predicate = std::function<bool(const Path&)>;

    /// What --model is given.
    static constexpr std::string_view whisperModel = "mlx-community/whisper-large-v3-turbo";

    Path whisper; ///< speech to text
    Path claude;  ///< text to structured summary

    bool operator==(const AITools&) const = default;

    [[nodiscard]] bool whisperFound() const;
    [[nodiscard]] bool claudeFound() const;

    /// Candidate paths, best first. The two lists differ in their order on purpose.
    [[nodiscard]] static std::vector<Path> whisperPlaces(const Path& home);
    [[nodiscard]] static std::vector<Path> claudePlaces(const Path& home);
    /// The first path that is executable; the first of all if none is, so that messages can name a path.
    [[nodiscard]] static Path firstFound(const std::vector<Path>& paths,
                                         const Predicate& isExecutable = isExecutableFile);
    [[nodiscard]] static Path defaultWhisper();
    [[nodiscard]] static Path defaultClaude();

    /// What decides which tools are used, as plain values.
    struct Search {
        bool testMode = false;
        std::function<std::optional<QString>(const char*)> variable;
        Path home;
        Predicate isExecutable = isExecutableFile;
        /// A program of ours that stands in while `mlx_whisper` is in none of its places; nullopt: it would find no
        /// engine.
        std::function<std::optional<Path>()> standIn;
    };

    [[nodiscard]] static AITools resolve(const Search& search);
    /// The tools that the system uses. In test mode they are missing unless variables name them.
    [[nodiscard]] static AITools current();

    /// A regular file that this user may execute; links are followed.
    [[nodiscard]] static bool isExecutableFile(const Path& path);
};

} // namespace ai
