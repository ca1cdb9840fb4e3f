// Folders whose changes the test tells.
#pragma once

#include "jobs/FolderWatch.h"

#include <set>
#include <utility>

namespace fakes {

class FakeFolderWatch final : public jobs::FolderWatch {
public:
    explicit FakeFolderWatch(Handlers told) : handlers(std::move(told)) {}

    [[nodiscard]] bool watch(const std::filesystem::path& folder) override {
        if (!canWatch) {
            return false;
        }
        watched.insert(folder);
        return true;
    }

    void forget(const std::filesystem::path& folder) override { watched.erase(folder); }

    Handlers handlers;
    std::set<std::filesystem::path> watched;
    bool canWatch = true;
};

} // namespace fakes
