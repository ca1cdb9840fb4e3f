// Lets a test send the program the words of a desktop that wants it to end.
#pragma once

#include "entry/ShutdownWatch.h"

#include <memory>
#include <utility>

namespace fakes {

class FakeShutdownWatch final : public entry::ShutdownWatch {
public:
    std::unique_ptr<Watch> watch(Handlers handlers) override {
        auto kept = std::make_shared<Handlers>(std::move(handlers));
        m_handlers = kept;
        return std::make_unique<Held>(std::move(kept));
    }

    [[nodiscard]] bool watched() const { return !m_handlers.expired(); }

    void quit() {
        if (const auto handlers = m_handlers.lock(); handlers && handlers->onQuit) {
            handlers->onQuit();
        }
    }

    void powerOff() {
        if (const auto handlers = m_handlers.lock(); handlers && handlers->onPowerOff) {
            handlers->onPowerOff();
        }
        quit();
    }

private:
    class Held final : public Watch {
    public:
        explicit Held(std::shared_ptr<Handlers> handlers) : m_kept(std::move(handlers)) {}

    private:
        std::shared_ptr<Handlers> m_kept;
    };

    std::weak_ptr<Handlers> m_handlers;
};

} // namespace fakes
