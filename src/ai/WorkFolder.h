// A temporary folder for one child program.
#pragma once

#include "base/Files.h"

#include <QUuid>

#include <filesystem>
#include <string>

namespace ai {

/// Made with its parents, removed with all that is in it. A failure of either is no error of its own: what was to run
/// in the folder fails then, and the next launch clears what is left.
class WorkFolder {
public:
    WorkFolder(const std::filesystem::path& root, const std::string& prefix)
        : m_path(root / (prefix + QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString())) {
        [[maybe_unused]] const auto made = base::makeFolders(m_path);
    }

    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    ~WorkFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

} // namespace ai
