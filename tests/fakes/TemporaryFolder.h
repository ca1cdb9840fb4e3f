// A fresh folder that goes with the test.
#pragma once

#include "base/Files.h"

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <system_error>

namespace fakes {

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "brieflet-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        path = pattern;
    }

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    [[nodiscard]] base::fs::path operator/(const base::fs::path& name) const { return path / name; }

    base::fs::path path;
};

} // namespace fakes
