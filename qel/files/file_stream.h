// A file as a SystemStream.
#pragma once

#include <qel/files/system_stream.h>

#include <istream>
#include <memory>

namespace qel {

/// Reads a file in pieces of 64 KiB. It is opened by the constructor or by the first read(), and again by the
/// first read() after cancel().
class QEL_API FileStream : public SystemStream {
    QEL_CLASS(FileStream, SystemStream)

public:
    /// The size in bytes of each piece except the last.
    static constexpr size_t kChunkSize = 65536;

    /// Reads name and size of the file @p path. @param openNow  true to open it at once.
    FileStream(const char* path, bool openNow);

    /// Reads the next piece. The end of the file is reported by the call after the last piece.
    int read(Buffer& buffer) override;
    /// Closes the file.
    void cancel() override;

protected:
    /// Opens the file unless it is open. @return true if it is open now. @errors logged.
    bool open();

private:
    std::unique_ptr<std::iostream> m_stream;
    String m_path;
};

} // namespace qel
