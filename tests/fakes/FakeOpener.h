// Keeps what the desktop was asked to open.
#pragma once

#include "entry/Opener.h"

#include <vector>

namespace fakes {

class FakeOpener final : public entry::Opener {
public:
    bool hasPanes = true;
    std::vector<std::filesystem::path> folders;
    std::vector<QString> addresses;
    std::vector<QString> panes;

    void openFolder(const std::filesystem::path& folder) override { folders.push_back(folder); }

    void openURL(const QString& address) override { addresses.push_back(address); }

    bool openPane(const QString& pane) override {
        panes.push_back(pane);
        return hasPanes;
    }
};

} // namespace fakes
