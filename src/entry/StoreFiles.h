// The files of a recording as the store keeps them.
#pragma once

#include "entry/RecordingRoles.h"

namespace entry {

class StoreFiles final : public RecordingFiles {
public:
    [[nodiscard]] bool exists(const std::filesystem::path& path) override;
    [[nodiscard]] Result makeFolders(const std::filesystem::path& folder) override;
    [[nodiscard]] Result writeLock(const std::filesystem::path& folder) override;
    void removeLock() override;
    [[nodiscard]] Result writeMeta(const store::MeetingMeta& meta, const std::filesystem::path& folder) override;
    [[nodiscard]] Result makeDurable(const std::filesystem::path& file) override;
    void removeFile(const std::filesystem::path& file) override;
    void removeFolder(const std::filesystem::path& folder) override;
};

} // namespace entry
