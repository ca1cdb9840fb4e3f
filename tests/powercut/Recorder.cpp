#include "powercut/Recorder_p.h"
#include "powercut/Recording.h"

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/stat.h>

namespace powercut {

namespace fs = std::filesystem;

namespace {

std::string nameOf(const std::string& path) {
    const fs::path plain(path);
    return (plain.has_filename() ? plain : plain.parent_path()).filename().native();
}

} // namespace

std::atomic<Recorder*>& Recorder::current() {
    static std::atomic<Recorder*> recorder = nullptr;
    return recorder;
}

std::recursive_mutex& Recorder::lock() {
    static std::recursive_mutex mutex;
    return mutex;
}

Recorder::Recorder(const fs::path& folder) {
    learn(folder);
}

/// Takes what is at the path into the history as it is now; gives the node, which is a new one.
NodeID Recorder::learn(const fs::path& path) {
    struct stat status{};
    if (::lstat(path.c_str(), &status) != 0) {
        throw std::runtime_error("can't look at " + path.native());
    }
    const NodeID id = m_history.nodes.size();
    m_history.nodes.emplace_back();
    m_nodes[{status.st_dev, status.st_ino}] = id;
    Node node;
    node.modified = status.st_mtim.tv_sec * 1'000'000'000 + status.st_mtim.tv_nsec;
    if (S_ISLNK(status.st_mode)) {
        node.kind = Node::Kind::Link;
        node.content = fs::read_symlink(path).native();
    } else if (S_ISDIR(status.st_mode)) {
        node.kind = Node::Kind::Folder;
        for (const auto& entry : fs::directory_iterator(path)) {
            node.entries[entry.path().filename().native()] = learn(entry.path());
        }
    } else {
        std::ifstream file(path, std::ios::binary);
        node.content.assign(std::istreambuf_iterator<char>(file), {});
    }
    m_history.nodes[id] = std::move(node);
    return id;
}

std::optional<NodeID> Recorder::nodeOf(const std::string& path) const {
    struct stat status{};
    if (::lstat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    const auto found = m_nodes.find({status.st_dev, status.st_ino});
    return found == m_nodes.end() ? std::nullopt : std::optional(found->second);
}

std::optional<NodeID> Recorder::nodeOf(int file) const {
    struct stat status{};
    if (::fstat(file, &status) != 0) {
        return std::nullopt;
    }
    const auto found = m_nodes.find({status.st_dev, status.st_ino});
    return found == m_nodes.end() ? std::nullopt : std::optional(found->second);
}

std::optional<NodeID> Recorder::folderOf(const std::string& path) const {
    const fs::path plain(path);
    const fs::path folder = (plain.has_filename() ? plain : plain.parent_path()).parent_path();
    struct stat status{};
    if (::stat(folder.empty() ? "." : folder.c_str(), &status) != 0) {
        return std::nullopt;
    }
    const auto found = m_nodes.find({status.st_dev, status.st_ino});
    return found == m_nodes.end() ? std::nullopt : std::optional(found->second);
}

void Recorder::created(const std::string& path) {
    if (const auto folder = folderOf(path)) {
        Step step;
        step.kind = Step::Kind::Add;
        step.folder = *folder;
        step.name = nameOf(path);
        step.node = learn(path); // an old node of the same number was removed
        m_history.nodes[step.node].modified = 0;
        note(std::move(step));
    }
}

void Recorder::added(const std::string& path) {
    const auto folder = folderOf(path);
    const auto node = nodeOf(path);
    if (folder && node) {
        Step step;
        step.kind = Step::Kind::Add;
        step.folder = *folder;
        step.name = nameOf(path);
        step.node = *node;
        note(std::move(step));
    }
}

void Recorder::removed(const std::string& path, std::optional<NodeID> node) {
    const auto folder = folderOf(path);
    if (folder && node) {
        Step step;
        step.kind = Step::Kind::Remove;
        step.folder = *folder;
        step.name = nameOf(path);
        step.node = *node;
        note(std::move(step));
    }
}

void Recorder::moved(const std::string& from, const std::string& to, std::optional<NodeID> node) {
    const auto folder = folderOf(from);
    const auto toFolder = folderOf(to);
    if (folder && toFolder && node) {
        Step step;
        step.kind = Step::Kind::Move;
        step.node = *node;
        step.folder = *folder;
        step.name = nameOf(from);
        step.toFolder = *toFolder;
        step.toName = nameOf(to);
        note(std::move(step));
    } else if (folder) {
        removed(from, node); // out of what is watched
    } else if (toFolder) {
        created(to);
    }
}

void Recorder::wrote(int file, std::int64_t offset, const void* bytes, std::size_t size) {
    if (const auto node = nodeOf(file); node && size > 0) {
        Step step;
        step.kind = Step::Kind::Write;
        step.node = *node;
        step.offset = offset;
        step.bytes.assign(static_cast<const char*>(bytes), size);
        note(std::move(step));
    }
}

void Recorder::resized(std::optional<NodeID> node, std::int64_t size) {
    if (node) {
        Step step;
        step.kind = Step::Kind::Resize;
        step.node = *node;
        step.offset = size;
        note(std::move(step));
    }
}

void Recorder::flushed(int file) {
    if (const auto node = nodeOf(file)) {
        Step step;
        step.kind = Step::Kind::Flush;
        step.node = *node;
        note(std::move(step));
    }
}

void Recorder::marked(const std::string& text) {
    Step step;
    step.bytes = text;
    note(std::move(step));
}

// ---- Recording

Recording::Recording(const fs::path& folder) : m_folder(folder) {
    const std::lock_guard hold(Recorder::lock());
    if (Recorder::current() != nullptr) {
        throw std::logic_error("one recording at a time");
    }
    Recorder::current() = new Recorder(folder);
}

Recording::~Recording() {
    const std::lock_guard hold(Recorder::lock());
    delete Recorder::current().exchange(nullptr);
}

void Recording::mark(const std::string& text) {
    const std::lock_guard hold(Recorder::lock());
    Recorder::current().load()->marked(text);
}

History Recording::finish() {
    History history;
    {
        const std::lock_guard hold(Recorder::lock());
        history = Recorder::current().load()->take();
        delete Recorder::current().exchange(nullptr);
    }
    std::string pattern = (fs::temp_directory_path() / "brieflet-powercut-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    const fs::path scratch = pattern;
    history.restore(history.steps.size(), [](const Step&, std::size_t) { return Fate::Kept; }, scratch / "all");
    const auto recorded = History::contentsOf(scratch / "all");
    const auto present = History::contentsOf(m_folder);
    fs::remove_all(scratch);
    for (const auto& [name, content] : present) {
        if (!recorded.contains(name) || recorded.at(name) != content) {
            throw std::runtime_error(name + " was changed in a way that the recording does not see");
        }
    }
    if (recorded.size() != present.size()) {
        throw std::runtime_error("something was removed in a way that the recording does not see");
    }
    return history;
}

} // namespace powercut
