#include <qel/platform/linux/file_system_p.h>

#include <cstring>
#include <dirent.h>

namespace qel::platform {

namespace {

constexpr std::size_t kBlockBytes = 32 * 1024;

FileKind kindOf(unsigned char type) {
    if (type == DT_REG) return FileKind::File;
    if (type == DT_DIR) return FileKind::Directory;
    if (type == DT_LNK) return FileKind::SymLink;
    return type == DT_UNKNOWN ? FileKind::Unknown : FileKind::Other;
}

} // namespace

bool DirectoryReader::readBlock(FileError& error) {
    if (!m_block) m_block = std::make_unique<char[]>(kBlockBytes);
    ssize_t count = 0;
    m_position = m_blockSize = 0;
    error = perform(Operation::ReadFolder,
                    [&] { return count = ::getdents64(m_directory.id(), m_block.get(), kBlockBytes); });
    if (!error) m_blockSize = static_cast<std::size_t>(count);
    return m_blockSize > 0;
}

// Some file systems do not record the kind in their folders; then the status of the entry is read.
void DirectoryReader::take(const void* record, DirectoryEntry& entry) const {
    const auto* found = static_cast<const dirent64*>(record);
    entry.name = found->d_name;
    entry.kind = kindOf(found->d_type);
    FileStatus status;
    if (entry.kind == FileKind::Unknown && !readStatus(status, found->d_name, Links::Keep, m_directory))
        entry.kind = status.kind;
}

bool DirectoryReader::next(DirectoryEntry& entry, FileError& error) {
    error.clear();
    for (;;) {
        if (m_position >= m_blockSize && !readBlock(error)) return false;
        const auto* found = reinterpret_cast<const dirent64*>(m_block.get() + m_position);
        m_position += found->d_reclen;
        if (std::strcmp(found->d_name, ".") == 0 || std::strcmp(found->d_name, "..") == 0) continue;
        take(found, entry);
        return true;
    }
}

} // namespace qel::platform
