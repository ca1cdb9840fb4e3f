// What a piece of code did to the files of a folder, step by step, and what a power cut after any step may leave of it.
//   Model    a written byte is on the disk once its file was flushed, a name once its folder was; until then the disk
//            may have it or not, each one independently of the others. A move within a folder is one step; between
//            folders it is safe once both are flushed
//   Threads  one at a time
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace powercut {

using NodeID = std::size_t;

/// A file, folder or link, whatever its names are.
struct Node {
    enum class Kind { File, Folder, Link };
    Kind kind = Kind::File;
    std::string content;                   ///< of a file or link, before the first step
    std::map<std::string, NodeID> entries; ///< of a folder, before the first step
    std::int64_t modified = 0;             ///< nanoseconds since 1970, of a file that no step writes to
};

struct Step {
    enum class Kind { Add, Remove, Move, Write, Resize, Flush, Mark };
    Kind kind = Kind::Mark;
    NodeID node = 0;
    NodeID folder = 0; ///< of Add, Remove and Move
    std::string name;
    NodeID toFolder = 0; ///< of Move
    std::string toName;
    std::int64_t offset = 0; ///< of Write; of Resize the new size
    std::string bytes;       ///< of Write; of Mark its text
};

/// What the disk made of a step that was not flushed yet.
enum class Fate { Kept, Lost, Torn };
using Choice = std::function<Fate(const Step&, std::size_t index)>;

class History {
public:
    static constexpr NodeID root = 0;

    std::vector<Node> nodes;
    std::vector<Step> steps;

    /// Whether a cut before the step `cut` finds the step `index` safe on the disk.
    [[nodiscard]] bool isSafe(std::size_t index, std::size_t cut) const;
    /// Makes `target` (a new folder) what is left after a cut before the step `cut`.
    void restore(std::size_t cut, const Choice& choice, const std::filesystem::path& target) const;
    /// The number of steps before the mark; throws if there is none.
    [[nodiscard]] std::size_t markOf(const std::string& text) const;
    [[nodiscard]] std::string describe(std::size_t index) const;

    /// The files, folders and links below a folder with their contents.
    [[nodiscard]] static std::map<std::string, std::string> contentsOf(const std::filesystem::path& folder);

private:
    struct Disk;
    [[nodiscard]] Disk diskAfter(std::size_t cut, const Choice& choice) const;
};

} // namespace powercut
