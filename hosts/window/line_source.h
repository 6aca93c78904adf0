// LineSource: reads lines from a file or a pipe without waiting for them.
#pragma once

#include <qel/platform/file_system.h>

#include <string>

namespace qelwindow {

/// Reads lines of at most kLongestLine bytes.
class LineSource {
public:
    /// The longest line in bytes.
    static constexpr size_t kLongestLine = 64 * 1024;

    /// The outcome of next().
    enum class Result {
        Line,    ///< a line was read
        Waiting, ///< the pipe is empty at the moment
        End,     ///< there are no further lines
        Failed,  ///< the file cannot be read, or a line is too long
    };

    /// Opens a file or a named pipe. @return what went wrong; empty on success.
    std::string open(const std::string& path);
    /// Reads the next line, without its end. The last line may lack a line feed.
    Result next(std::string& line);
    /// Returns the number of lines read so far.
    size_t getLineNumber() const { return m_lineNumber; }

private:
    bool takeLine(std::string& line);
    Result readMore();

    qel::platform::FileHandle m_file;
    std::string m_pending;
    size_t m_lineNumber = 0;
    bool m_isPipe = false;
    bool m_hasRead = false;
    bool m_hasEnded = false;
};

} // namespace qelwindow
