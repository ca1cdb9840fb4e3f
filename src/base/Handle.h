// Owning what a C library hands out, on the line that gets it.
#pragma once

#include <memory>
#include <unistd.h>
#include <utility>

namespace base {

template<auto release>
struct ReleaseWith {
    void operator()(auto* handle) const noexcept { release(handle); }
};

/// std::unique_ptr<T, ReleaseWith<free_function>> by a shorter name.
template<typename T, auto release>
using Owned = std::unique_ptr<T, ReleaseWith<release>>;

/// A file descriptor, closed with its owner. -1: none.
class FileDescriptor {
public:
    FileDescriptor() = default;

    explicit FileDescriptor(int descriptor) noexcept : m_descriptor(descriptor) {}

    FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}

    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) {
            reset();
            m_descriptor = std::exchange(other.m_descriptor, -1);
        }
        return *this;
    }

    ~FileDescriptor() { reset(); }

    [[nodiscard]] int get() const noexcept { return m_descriptor; }

    [[nodiscard]] int release() noexcept { return std::exchange(m_descriptor, -1); }

    explicit operator bool() const noexcept { return m_descriptor >= 0; }

    void reset() noexcept {
        if (m_descriptor >= 0) {
            ::close(std::exchange(m_descriptor, -1));
        }
    }

private:
    int m_descriptor = -1;
};

} // namespace base
