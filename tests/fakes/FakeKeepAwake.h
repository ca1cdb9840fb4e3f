// Counts who keeps the machine awake and why.
#pragma once

#include "entry/KeepAwake.h"

#include <memory>
#include <vector>

namespace fakes {

class FakeKeepAwake final : public entry::KeepAwake {
public:
    std::vector<QString> reasons;                         ///< of every hold so far
    std::shared_ptr<int> held = std::make_shared<int>(0); ///< how many tokens live now

    std::unique_ptr<Token> hold(const QString& reason) override {
        reasons.push_back(reason);
        return std::make_unique<Counted>(held);
    }

private:
    class Counted final : public Token {
    public:
        explicit Counted(std::shared_ptr<int> count) : m_count(std::move(count)) { ++*m_count; }

        ~Counted() override { --*m_count; }

    private:
        std::shared_ptr<int> m_count;
    };
};

} // namespace fakes
