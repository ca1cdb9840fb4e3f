// Folders whose changes the test tells.
#pragma once

#include "jobs/FolderWatch.h"

#include <mutex>
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
        const std::scoped_lock lock(m_mutex);
        watched.insert(folder);
        return true;
    }

    void forget(const std::filesystem::path& folder) override {
        const std::scoped_lock lock(m_mutex);
        watched.erase(folder);
    }

    Handlers handlers;
    std::set<std::filesystem::path> watched; ///< to be looked at while no other thread watches
    bool canWatch = true;

private:
    std::mutex m_mutex;
};

} // namespace fakes
