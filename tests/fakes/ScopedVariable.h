// An environment variable that has its old value again when the test ends.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace fakes {

class ScopedVariable {
public:
    /// nullopt: unset.
    ScopedVariable(std::string name, const std::optional<std::string>& value) : m_name(std::move(name)) {
        if (const char* before = std::getenv(m_name.c_str())) {
            m_before = before;
        }
        set(value);
    }

    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

    ~ScopedVariable() { set(m_before); }

    void set(const std::optional<std::string>& value) const {
        if (value) {
            ::setenv(m_name.c_str(), value->c_str(), 1);
        } else {
            ::unsetenv(m_name.c_str());
        }
    }

private:
    std::string m_name;
    std::optional<std::string> m_before;
};

} // namespace fakes
