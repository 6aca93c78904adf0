// A full disk, for tests within one process.
#pragma once

#include <csignal>
#include <sys/resource.h>

namespace qel::test {

/// While it exists, no file of this process can grow beyond a size.
class FullDisk {
public:
    explicit FullDisk(rlim_t maximum = 60'000) : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limited{maximum, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit m_before{};
    void (*m_handler)(int);
};

} // namespace qel::test
