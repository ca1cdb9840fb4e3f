// An environment variable for the length of a test.
#pragma once

#include <QByteArray>

#include <optional>

class EnvironmentValue {
public:
    /// nullopt unsets it.
    EnvironmentValue(const char* name, const std::optional<QByteArray>& value) : m_name(name) {
        if (qEnvironmentVariableIsSet(name)) {
            m_before = qgetenv(name);
        }
        put(value);
    }

    EnvironmentValue(const EnvironmentValue&) = delete;
    EnvironmentValue& operator=(const EnvironmentValue&) = delete;

    ~EnvironmentValue() { put(m_before); }

private:
    void put(const std::optional<QByteArray>& value) {
        if (value) {
            qputenv(m_name, *value);
        } else {
            qunsetenv(m_name);
        }
    }

    const char* m_name;
    std::optional<QByteArray> m_before;
};
