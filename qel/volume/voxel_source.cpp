#include <qel/volume/voxel_source_p.h>

#include <algorithm>
#include <cstring>

namespace qel::internal {

VoxelSource::~VoxelSource() = default;

const uint8* MemoryVoxelSource::read(uint64 offset, size_t, uint8*) {
    return m_bytes.data + offset;
}

const uint8* FunctionVoxelSource::read(uint64 offset, size_t size, uint8* room) {
    if (!m_read || !m_read(offset, room, size)) m_hasFailed = true;
    return room;
}

const uint8* FileVoxelSource::read(uint64 offset, size_t size, uint8* room) {
    const uint64 left = offset < m_size ? m_size - offset : 0;
    const size_t done = readFile(offset, static_cast<size_t>(std::min<uint64>(left, size)), room);
    std::memset(room + done, 0, size - done);
    return room;
}

size_t FileVoxelSource::readFile(uint64 offset, size_t size, uint8* room) {
    size_t done = 0;
    while (done < size) {
        size_t count = 0;
        const platform::FileError error =
            m_file.readAt(m_begin + offset + done, room + done, size - done, count);
        if (error || count == 0) {
            setProblem(error);
            break;
        }
        done += count;
    }
    return done;
}

void FileVoxelSource::setProblem(const platform::FileError& error) {
    const MutexLock lock(m_mutex);
    if (m_problem.empty()) m_problem = error ? error.message() : "the file became shorter";
}

String FileVoxelSource::problem() const {
    const MutexLock lock(m_mutex);
    return m_problem;
}

} // namespace qel::internal
