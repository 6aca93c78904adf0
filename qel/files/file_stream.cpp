#include <qel/files/file_stream.h>

#include <qel/files/file.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/log/message_stream.h>

namespace qel {

FileStream::FileStream(const char* path, bool openNow) : m_path(path) {
    m_name = File::getFilenameFromPath(path);
    m_totalSize = File::getFileSize(path);
    if (openNow) open();
}

bool FileStream::open() {
    if (m_stream) return true;
    m_stream = File::openStdFileStream(m_path, std::ios_base::in | std::ios_base::binary);
    if (m_stream) return true;
    logging::error() << "file stream can not open: " << m_path << logging::getPError();
    return false;
}

int FileStream::read(Buffer& buffer) {
    if (!open()) return kFailed;
    if (m_stream->eof()) return kEnd;
    if (!m_stream->good()) return kFailed;
    buffer.resize(kChunkSize);
    m_stream->read(reinterpret_cast<char*>(buffer.getBytePointer()), kChunkSize);
    buffer.resize(static_cast<size_t>(m_stream->gcount()));
    if (!m_stream->bad()) return kChunk;
    logging::error() << "file stream can not read: " << m_path;
    return kFailed;
}

void FileStream::cancel() {
    m_stream.reset();
}

} // namespace qel
