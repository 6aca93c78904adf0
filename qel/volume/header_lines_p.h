// The lines at the start of a file.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/file_system.h>

namespace qel::internal {

/// Reads lines as std::getline does: a line ends after a line feed or at the end of the file.
class HeaderLines {
public:
    /// The result of next().
    enum class Result {
        Line,    ///< a line was read
        End,     ///< the file has ended
        TooLong, ///< the line is longer than allowed
    };

    /// Starts at the beginning of @p file. @owner the file must outlive this object.
    explicit HeaderLines(const platform::FileHandle& file) : m_file(file) {}

    /// Reads the next line, without its line feed. @param longest  the most bytes of a line.
    Result next(String& line, size_t longest);
    /// Returns the offset of the first byte after the last line.
    uint64 position() const { return m_blockBegin + m_at; }
    /// Returns why the file could not be read; empty initially. A file that cannot be read has ended, and the
    /// part of a line before the error is no line.
    const platform::FileError& error() const { return m_error; }

private:
    bool fill();

    const platform::FileHandle& m_file;
    Buffer m_block;
    uint64 m_blockBegin = 0;
    size_t m_at = 0;
    platform::FileError m_error;
};

} // namespace qel::internal
