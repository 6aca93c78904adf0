// LineBuilder: the memory in which a log line grows, kept for the thread's next line.
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
    /// A builder for a new line; the calling thread's spare one if there is.
    static LineBuilder* acquire(std::string_view prefix);
    /// Gives a builder back, to the calling thread.
    static void release(LineBuilder* builder);

    /// Adds characters.
    void append(std::string_view text) { m_line.append(text); }
    /// Adds one character.
    void append(char c) { m_line.push_back(c); }

    /// The stream that adds to the line.
    std::ostream& stream();
    /// Call after each use of stream(): looks whether manipulators have left their mark on it.
    void checkFormat();
    /// True while values print as on a fresh stream.
    bool isPlain() const { return m_isPlain; }

    /// The text without the prefix.
    std::string_view text() const { return std::string_view(m_line).substr(m_prefixLength); }
    /// Cuts whitespace at the end of the text; a text of nothing else stays.
    void cutTrailingWhitespace();
    /// Prefix and text, with a terminating zero.
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
