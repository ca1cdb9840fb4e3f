// While it lives, no file of this process can grow beyond a size: a full disk in the middle of a write.
#pragma once

#include <csignal>
#include <sys/resource.h>

namespace fakes {

class SmallDisk {
public:
    explicit SmallDisk(rlim_t bytes) {
        m_handler = ::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit small{bytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &small);
    }

    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    ~SmallDisk() {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        ::signal(SIGXFSZ, m_handler);
    }

private:
    rlimit m_before{};
    void (*m_handler)(int) = SIG_DFL;
};

} // namespace fakes
