#include "powercut/History.h"

#include <algorithm>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/stat.h>

namespace powercut {

namespace fs = std::filesystem;

namespace {

bool flushesBetween(const std::vector<Step>& steps, NodeID node, std::size_t after, std::size_t before) {
    return std::any_of(steps.begin() + static_cast<std::ptrdiff_t>(after) + 1,
                       steps.begin() + static_cast<std::ptrdiff_t>(before),
                       [node](const Step& step) { return step.kind == Step::Kind::Flush && step.node == node; });
}

std::string wholeFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

struct History::Disk {
    std::map<NodeID, std::map<std::string, NodeID>> entries;
    std::map<NodeID, std::string> contents;
    std::map<NodeID, bool> written;

    void apply(const Step& step, Fate fate) {
        switch (step.kind) {
        case Step::Kind::Add:
            entries[step.folder][step.name] = step.node;
            break;
        case Step::Kind::Remove:
            forget(step.folder, step.name, step.node);
            break;
        case Step::Kind::Move:
            forget(step.folder, step.name, step.node);
            entries[step.toFolder][step.toName] = step.node;
            break;
        case Step::Kind::Write:
            write(step, fate);
            break;
        case Step::Kind::Resize:
            contents[step.node].resize(static_cast<std::size_t>(step.offset));
            written[step.node] = true;
            break;
        case Step::Kind::Flush:
        case Step::Kind::Mark:
            break;
        }
    }

private:
    void forget(NodeID folder, const std::string& name, NodeID node) {
        const auto found = entries[folder].find(name);
        if (found != entries[folder].end() && found->second == node) {
            entries[folder].erase(found);
        }
    }

    void write(const Step& step, Fate fate) {
        const std::size_t size = fate == Fate::Torn ? step.bytes.size() / 2 : step.bytes.size();
        const auto offset = static_cast<std::size_t>(step.offset);
        std::string& content = contents[step.node];
        content.resize(std::max(content.size(), offset + size));
        std::copy_n(step.bytes.begin(), size, content.begin() + static_cast<std::ptrdiff_t>(offset));
        written[step.node] = true;
    }
};

bool History::isSafe(std::size_t index, std::size_t cut) const {
    const Step& step = steps[index];
    switch (step.kind) {
    case Step::Kind::Add:
    case Step::Kind::Remove:
        return flushesBetween(steps, step.folder, index, cut);
    case Step::Kind::Move:
        return flushesBetween(steps, step.folder, index, cut) && flushesBetween(steps, step.toFolder, index, cut);
    case Step::Kind::Write:
    case Step::Kind::Resize:
        return flushesBetween(steps, step.node, index, cut);
    case Step::Kind::Flush:
    case Step::Kind::Mark:
        break;
    }
    return true;
}

History::Disk History::diskAfter(std::size_t cut, const Choice& choice) const {
    Disk disk;
    for (NodeID node = 0; node < nodes.size(); ++node) {
        disk.entries[node] = nodes[node].entries;
        disk.contents[node] = nodes[node].content;
    }
    for (std::size_t index = 0; index < cut; ++index) {
        const Fate fate = isSafe(index, cut) ? Fate::Kept : choice(steps[index], index);
        if (fate != Fate::Lost) {
            disk.apply(steps[index], fate);
        }
    }
    return disk;
}

void History::restore(std::size_t cut, const Choice& choice, const fs::path& target) const {
    const Disk disk = diskAfter(cut, choice);
    const auto make = [&](const auto& self, NodeID id, const fs::path& path) -> void {
        const Node& node = nodes[id];
        if (node.kind == Node::Kind::Link) {
            fs::create_symlink(disk.contents.at(id), path);
            return;
        }
        if (node.kind == Node::Kind::Folder) {
            fs::create_directory(path);
            for (const auto& [name, entry] : disk.entries.at(id)) {
                self(self, entry, path / name);
            }
            return;
        }
        std::ofstream(path, std::ios::binary) << disk.contents.at(id);
        if (node.modified != 0 && !disk.written.contains(id)) {
            const timespec stamp{node.modified / 1'000'000'000, node.modified % 1'000'000'000};
            const timespec both[2] = {stamp, stamp};
            ::utimensat(AT_FDCWD, path.c_str(), both, 0);
        }
    };
    make(make, root, target);
}

std::size_t History::markOf(const std::string& text) const {
    const auto found = std::ranges::find_if(
        steps, [&text](const Step& step) { return step.kind == Step::Kind::Mark && step.bytes == text; });
    if (found == steps.end()) {
        throw std::out_of_range("no mark " + text);
    }
    return static_cast<std::size_t>(found - steps.begin());
}

std::string History::describe(std::size_t index) const {
    const Step& step = steps[index];
    const std::string node = "#" + std::to_string(step.node);
    switch (step.kind) {
    case Step::Kind::Add:
        return "add " + step.name + " " + node;
    case Step::Kind::Remove:
        return "remove " + step.name + " " + node;
    case Step::Kind::Move:
        return "move " + step.name + " to " + step.toName + " " + node;
    case Step::Kind::Write:
        return "write " + std::to_string(step.bytes.size()) + " bytes at " + std::to_string(step.offset) + " " + node;
    case Step::Kind::Resize:
        return "resize to " + std::to_string(step.offset) + " " + node;
    case Step::Kind::Flush:
        return "flush " + node;
    case Step::Kind::Mark:
        break;
    }
    return step.bytes;
}

std::map<std::string, std::string> History::contentsOf(const fs::path& folder) {
    std::map<std::string, std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const std::string name = entry.path().lexically_relative(folder).native();
        if (entry.is_symlink()) {
            found[name] = "link to " + fs::read_symlink(entry.path()).native();
        } else if (entry.is_directory()) {
            found[name] = "folder";
        } else {
            found[name] = "file " + wholeFile(entry.path());
        }
    }
    return found;
}

} // namespace powercut
