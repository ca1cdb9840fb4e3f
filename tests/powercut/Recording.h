// Records what this process does to the files below a folder: see History.
//   How      the calls of the C library that change files are replaced for the whole test program; they do what they
//            always do and take a note. A call that is not replaced shows when finish() compares
//   Threads  construct and finish on one thread; any thread may change files meanwhile
#pragma once

#include "powercut/History.h"

#include <filesystem>
#include <memory>
#include <string>

namespace powercut {

class Recording {
public:
    /// What is below `folder` now counts as safe on the disk. One recording at a time.
    explicit Recording(const std::filesystem::path& folder);
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;
    ~Recording();

    /// A mark in the history, such as the moment from which nothing may be lost any more.
    void mark(const std::string& text);
    /// Ends the recording. Throws if the steps do not add up to what is in the folder.
    [[nodiscard]] History finish();

private:
    std::filesystem::path m_folder;
};

} // namespace powercut
