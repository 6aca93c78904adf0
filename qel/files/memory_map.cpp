#include <qel/files/memory_map.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/platform/machine.h>
#include <qel/platform/mapped_file.h>
#include <qel/platform/system_error.h>

namespace qel {

MemoryMap::MemoryMap(const char* path, Mode mode)
    : m_path(path ? path : ""), m_mode(mode), m_alignmentMask(platform::pageSize() - 1) {
    platform::FileStatus status;
    platform::FileError error = platform::openForMapping(m_file, m_path.c_str(), m_mode == ReadWrite);
    if (!error) error = platform::readStatus(status, m_file);
    if (!error && status.kind == platform::FileKind::File && status.size > 0) {
        m_fileSize = status.size;
        return;
    }
    m_file.close();
    logging::error() << "file mapping object could not be created";
}

/// Returns true if the file still contains the whole window.
bool MemoryMap::isInside(uint64 offset, unsigned size) const {
    platform::FileStatus status;
    if (platform::readStatus(status, m_file)) return false;
    const uint64 end = std::min(m_fileSize, status.size);
    return offset <= end && size <= end - offset;
}

uint8* MemoryMap::map(uint64 offset, unsigned size) {
    const size_t delta = offset & m_alignmentMask;
    const size_t mappedSize = size + delta;
    void* window = nullptr;
    platform::FileError error = std::make_error_code(std::errc::invalid_argument);
    if (isValid() && isInside(offset, size))
        error = platform::mapWindow(window, m_file, offset - delta, mappedSize, m_mode == ReadWrite);
    if (!error) return static_cast<uint8*>(window) + delta;
    logging::error() << "memory mapping failed offset=" << offset - delta << " size=" << mappedSize
                     << " code=" << error.value() << " msg=" << platform::errorText(error.value());
    return nullptr;
}

void MemoryMap::unmap(uint8* p, uint64 offset, unsigned) {
    if (!p) return;
    const size_t delta = offset & m_alignmentMask;
    if (!platform::unmapWindow(p - delta))
        logging::warning() << "mapped file '" << m_path
                           << "' could not be read completely; missing pages were read as zeros";
}

bool MemoryMap::flush(uint8* p, unsigned size) {
    if (!p) return false;
    const size_t delta = reinterpret_cast<uintptr_t>(p) & m_alignmentMask;
    const platform::FileError error = platform::flushWindow(p - delta, size + delta);
    if (error)
        logging::error() << "memory mapping can't be flushed code=" << error.value()
                         << " msg=" << platform::errorText(error.value());
    return !error;
}

} // namespace qel
