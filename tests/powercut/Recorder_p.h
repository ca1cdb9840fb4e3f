// The note-taking half of a recording: knows which file is which, and appends steps.
//   Threads  the caller holds the lock of `current()`
#pragma once

#include "powercut/History.h"

#include <atomic>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace powercut {

class Recorder {
public:
    explicit Recorder(const std::filesystem::path& folder);

    /// The recorder of the process, if one is at work.
    static std::atomic<Recorder*>& current();
    static std::recursive_mutex& lock();

    void added(const std::string& path);   ///< a new name: of a new file or folder, or one more of a known file
    void created(const std::string& path); ///< a new name of a new node
    void removed(const std::string& path, std::optional<NodeID> node);
    void moved(const std::string& from, const std::string& to, std::optional<NodeID> node);
    void wrote(int file, std::int64_t offset, const void* bytes, std::size_t size);
    void resized(std::optional<NodeID> node, std::int64_t size);
    void flushed(int file);
    void marked(const std::string& text);

    [[nodiscard]] std::optional<NodeID> nodeOf(const std::string& path) const; ///< links are not followed

    [[nodiscard]] std::optional<NodeID> nodeOf(int file) const;

    [[nodiscard]] History take() { return std::move(m_history); }

private:
    using Identity = std::pair<dev_t, ino_t>;
    [[nodiscard]] std::optional<NodeID> folderOf(const std::string& path) const;
    NodeID learn(const std::filesystem::path& path);

    void note(Step step) { m_history.steps.push_back(std::move(step)); }

    History m_history;
    std::map<Identity, NodeID> m_nodes;
};

} // namespace powercut
