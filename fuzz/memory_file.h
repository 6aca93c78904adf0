// A file in memory, for targets whose functions take a path.
#pragma once

#include <qel/foundation/base/types.h>

#include <cstdlib>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

/// One per target; its path is valid until the process ends.
class MemoryFile {
public:
    MemoryFile() : m_id(memfd_create("fuzz", MFD_CLOEXEC)), m_path("/proc/self/fd/" + std::to_string(m_id)) {
        if (m_id < 0) std::abort();
    }

    const std::string& path() const { return m_path; }
    void setContent(const qel::uint8* data, size_t size) const {
        if (ftruncate(m_id, 0) != 0 || pwrite(m_id, data, size, 0) != static_cast<ssize_t>(size))
            std::abort();
    }

private:
    int m_id;
    std::string m_path;
};
