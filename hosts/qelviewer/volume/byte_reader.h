// Bytes of a file, as they are or decompressed.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/platform/file_system.h>

#include <memory>
#include <string>

namespace qelviewer {

/// Reads bytes in order. @threads one at a time.
class ByteReader {
public:
    ByteReader() = default;
    ByteReader(const ByteReader&) = delete;
    ByteReader& operator=(const ByteReader&) = delete;
    virtual ~ByteReader() = default;

    /// Reads up to @p size bytes. @return the number of bytes; less than @p size only at the end, or after an
    /// error, which problem() then states.
    virtual size_t read(qel::uint8* out, size_t size) = 0;
    /// Returns an upper bound of the bytes that are left.
    virtual qel::uint64 mostBytes() const = 0;
    /// Checks what follows the bytes that were read, if the format has a check sum there.
    /// @return false, with a problem, if it does not match.
    virtual bool verifyEnd() { return true; }

    /// Returns why no more bytes could be read; empty at the end of the bytes.
    const std::string& problem() const { return m_problem; }
    /// Skips bytes. @return false if there are fewer.
    bool skip(qel::uint64 bytes);

protected:
    /// Sets the problem unless there is one.
    void fail(const std::string& problem);

private:
    std::string m_problem;
};

/// A file on disk.
class FileReader final : public ByteReader {
public:
    /// Opens a file; problem() states an error, and for something that is not a file.
    /// @param links  Links::Keep refuses a link.
    explicit FileReader(const std::string& path, qel::platform::Links links = qel::platform::Links::Follow);

    size_t read(qel::uint8* out, size_t size) override;
    qel::uint64 mostBytes() const override { return m_size - m_position; }

    /// Reads @p size bytes at @p position, independently of read(). @return false if they do not exist or
    /// cannot be read. @threads any number.
    bool readAt(qel::uint64 position, qel::uint8* out, size_t size) const;
    /// Continues at @p position, or at the end of the file if that is before it.
    void seek(qel::uint64 position);
    /// Returns the size of the file, as it was when it was opened.
    qel::uint64 size() const { return m_size; }

private:
    qel::platform::FileHandle m_file;
    qel::uint64 m_size = 0;
    qel::uint64 m_position = 0;
};

/// The content of a gzip stream, which may have several members.
class GzipReader final : public ByteReader {
public:
    /// Decompresses what @p source has from its position on.
    explicit GzipReader(std::unique_ptr<ByteReader> source);
    ~GzipReader() override;

    size_t read(qel::uint8* out, size_t size) override;
    qel::uint64 mostBytes() const override;
    /// Reads at most a mebibyte more: a check sum after more content than that is not reached.
    bool verifyEnd() override;

private:
    struct Stream;

    void inflateSome();
    bool fillInput();
    void beginMember();

    std::unique_ptr<ByteReader> m_source;
    std::unique_ptr<Stream> m_stream;
};

} // namespace qelviewer
