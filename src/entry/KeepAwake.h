// Keeps the machine from falling asleep by itself while there is work that must not be cut off.
//   Threads  any
//   Errors   none: where the system can't be asked the work goes on without it
#pragma once

#include <QString>

#include <memory>

namespace entry {

class KeepAwake {
public:
    /// Held for as long as it lives.
    class Token {
    public:
        Token() = default;
        Token(const Token&) = delete;
        Token& operator=(const Token&) = delete;
        virtual ~Token() = default;
    };

    virtual ~KeepAwake() = default;
    /// Returns at once, never nullptr; `reason` is what the system shows about it.
    [[nodiscard]] virtual std::unique_ptr<Token> hold(const QString& reason) = 0;
};

} // namespace entry
