// Tells which files in some folders change, so that nobody has to ask for their dates again and again.
//   Promise  a change after watch() has returned is told, perhaps more than once and perhaps a little late; where that
//            can't be kept onLost says so
//   Threads  watch and forget: any. The handlers: the main thread
#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace jobs {

class FolderWatch {
public:
    struct Handlers {
        /// Something right in this folder was made, written, touched, replaced or removed.
        std::function<void(const std::filesystem::path& folder, const std::string& name)> onChange;
        /// There were changes that can't be told: anything may be another.
        std::function<void()> onLost;
    };

    FolderWatch() = default;
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;
    virtual ~FolderWatch() = default; ///< no handler is called after this

    /// Whether the folder is watched now; watching it already is fine.
    [[nodiscard]] virtual bool watch(const std::filesystem::path& folder) = 0;
    virtual void forget(const std::filesystem::path& folder) = 0;
};

} // namespace jobs
