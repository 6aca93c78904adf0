// LineBuilder: the memory in which a log line is built, reused for the thread's next line.
#pragma once

#include <cstddef>
#include <optional>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

namespace qel::logging {

/// The line that a MessageStream builds, and the stream for values that take the long way. Constructing a
/// standard stream costs several times the line itself, so each builder keeps its own.
class LineBuilder : private std::streambuf {
public:
    /// Returns a builder for a new line; a spare one of the calling thread if possible.
    static LineBuilder* acquire(std::string_view prefix);
    /// Returns a builder to the calling thread.
    static void release(LineBuilder* builder);

    /// Adds characters.
    void append(std::string_view text) { m_line.append(text); }
    /// Adds one character.
    void append(char c) { m_line.push_back(c); }

    /// Returns the stream that adds to the line.
    std::ostream& stream();
    /// Checks whether manipulators have changed the stream; call it after each use of stream().
    void checkFormat();
    /// Returns whether values print as on a fresh stream.
    bool isPlain() const { return m_isPlain; }

    /// Returns the text without the prefix.
    std::string_view text() const { return std::string_view(m_line).substr(m_prefixLength); }
    /// Cuts whitespace at the end of the text, unless it consists of nothing else.
    void cutTrailingWhitespace();
    /// Returns prefix and text, with a terminating zero.
    const std::string& line() const { return m_line; }

private:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* text, std::streamsize n) override;
    void restart(std::string_view prefix);

    std::string m_line;
    std::size_t m_prefixLength = 0;
    std::optional<std::ostream> m_stream;
    bool m_isPlain = true;
};

} // namespace qel::logging
