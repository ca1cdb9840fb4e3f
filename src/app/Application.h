// The program as a whole: chooses the real desktop, wires it to the controller, and ends it.
//   Threads  the main thread
#pragma once

#include "entry/CommandLine.h"

#include <memory>

namespace app {

class Application {
public:
    explicit Application(const entry::CommandLine& commandLine);
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    /// Launches and runs until the end of the program; returns its exit code.
    [[nodiscard]] int run();

private:
    struct Parts;
    std::unique_ptr<Parts> m_parts;
};

} // namespace app
