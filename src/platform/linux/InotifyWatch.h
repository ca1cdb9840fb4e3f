// Changes in folders as the kernel tells them (inotify).
//   Limits   the system grants each user so many watched folders; beyond that watch() says no
//   Threads  watch and forget: any. Making it, letting it go and the handlers: the main thread, which runs a Qt event
//            loop
#pragma once

#include "base/Handle.h"
#include "jobs/FolderWatch.h"

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

class QSocketNotifier;

namespace platform::linux_desktop {

class InotifyWatch final : public jobs::FolderWatch {
public:
    explicit InotifyWatch(Handlers handlers);
    ~InotifyWatch() override;

    [[nodiscard]] bool watch(const std::filesystem::path& folder) override;
    void forget(const std::filesystem::path& folder) override;

private:
    void takeEvents();
    void tell(int watch, std::uint32_t mask, const std::string& name);
    [[nodiscard]] std::filesystem::path folderOf(int watch);

    Handlers m_handlers;
    base::FileDescriptor m_inotify;
    std::mutex m_mutex; ///< for the two maps alone
    std::unordered_map<int, std::filesystem::path> m_folders;
    std::map<std::filesystem::path, int> m_watches;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace platform::linux_desktop
