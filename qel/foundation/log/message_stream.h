// MessageStream: one log line, written with stream syntax and delivered when the object dies.
#pragma once

#include <qel/platform/api.h>

#include <atomic>
#include <concepts>
#include <cstddef>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>
#include <type_traits>

namespace qel::logging {

class LineBuilder;

/// Hides verbose lines in the console: those of level 0, and all whose text contains "[VERBOSE]". They still
/// reach the backend. Off by default; use it like a plain bool, from any thread.
extern QEL_API std::atomic<bool> g_hideVerboseOutputInConsole;
/// Omits the time in console lines. Off by default; use it like a plain bool, from any thread.
extern QEL_API std::atomic<bool> g_hideTimeInConsole;
/// For use by the host; the library does not read it. Off by default.
extern QEL_API std::atomic<bool> g_isCompactLogEnabled;

namespace detail {
template <typename T>
concept Text = !std::same_as<T, std::nullptr_t> && (std::convertible_to<const T&, std::string_view> ||
                                                    std::convertible_to<const T&, const char*>);
template <typename T>
concept Character = std::same_as<T, char> || std::same_as<T, signed char> || std::same_as<T, unsigned char>;
template <typename T>
concept WideCharacter = std::same_as<T, wchar_t> || std::same_as<T, char8_t> || std::same_as<T, char16_t> ||
    std::same_as<T, char32_t>;
template <typename T>
concept Number = std::same_as<T, float> || std::same_as<T, double> ||
    (std::integral<T> && sizeof(T) <= 8 && !Character<T> && !WideCharacter<T>);
} // namespace detail

/// A log line that is being built.
///
/// @code
/// logging::MessageStream(2, 3) << "the device sent " << count << " frames too many";
/// logging::error() << "cant open '" << path << "'" << logging::getSystemError();
/// @endcode
///
/// Accepts everything that a std::ostream accepts, manipulators included, and prints it as a fresh stream in
/// the "C" locale does; texts, whole numbers and floating-point numbers take a faster path. The destructor
/// cuts trailing whitespace (unless the text consists of nothing else), prepends the prefix of the level and
/// delivers the line to the console, and to the LogBackend if one is registered.
///
/// Nothing is formatted if the line can't be delivered anyway. A line written from a listener of the backend
/// or from the console writer is dropped, since the previous line is still being delivered.
/// @threads any thread; an object belongs to one thread at a time. Lines may be built within lines.
class QEL_API MessageStream {
public:
    /// Starts a line.
    /// @param level     0 verbose, 1 info, 2 warning, 3 error, 4 assert.
    /// @param channels  bit 0 the customer log, bit 1 the technical log; -1 switches the line off.
    MessageStream(int level, int channels) : m_level(level), m_channels(channels) {
        if (channels != -1) begin();
    }
    /// Delivers the line.
    ~MessageStream() {
        if (m_line) deliver();
    }
    MessageStream(const MessageStream&) = delete;
    MessageStream& operator=(const MessageStream&) = delete;

    /// Adds a value to the line. A null text adds nothing.
    template <typename T>
    MessageStream& operator<<(const T& value) {
        if (m_line) write(value);
        return *this;
    }
    /// Applies a manipulator, such as std::endl.
    MessageStream& operator<<(std::ostream& (*manipulator)(std::ostream&));
    /// Applies a manipulator, such as std::hex.
    MessageStream& operator<<(std::ios_base& (*manipulator)(std::ios_base&));

private:
    void begin();
    void deliver();
    template <typename T>
    void write(const T& value);
    void writeText(std::string_view text);
    void writeCharacter(char c);
    void writeNumber(long long value);
    void writeNumber(unsigned long long value);
    void writeNumber(double value);
    bool isPlain() const;
    std::ostream& beginStreaming();
    void endStreaming();

    int m_level;
    int m_channels;
    LineBuilder* m_line = nullptr;
};

/// An output stream whose lines go to the log, for code that writes to a std::ostream. Each newline sends
/// the line before it on the technical channel; a last line without one is lost.
/// @threads one thread at a time.
class QEL_API LogOStream : private std::streambuf, public std::ostream {
public:
    /// @param level  the level of all lines, as for MessageStream.
    explicit LogOStream(int level);
    ~LogOStream() override;

private:
    int overflow(int c) override;

    int m_level;
    std::string m_lineBuffer;
};

/// Starts a line of level 0 on the technical channel.
inline MessageStream verbose() {
    return {0, 2};
}
/// Starts a line of level 1 on the technical channel.
inline MessageStream info() {
    return {1, 2};
}
/// Starts a line of level 2 on the technical channel.
inline MessageStream warning() {
    return {2, 2};
}
/// Starts a line of level 3 on the technical channel.
inline MessageStream error() {
    return {3, 2};
}

/// Returns the last failed system call of this thread as ", syserr=%d:%s", code and text, for the end of a
/// log line.
QEL_API std::string getSystemError();
/// Returns errno of this thread as ", errno=%d:%s", code and text, for the end of a log line.
QEL_API std::string getPError();

/// One line as the console shows it.
struct ConsoleLine {
    /// Level of the line, 0 to 4.
    int level;
    /// Channels of the line: bit 0 customer, bit 1 technical.
    int channels;
    /// The time since the start of the backend with its brackets and a space, such as "[  1.042] "; empty
    /// without a backend and while g_hideTimeInConsole is set.
    std::string_view time;
    /// The prefix and text of the line, without a newline.
    std::string_view text;
};
/// Shows one line on the console. Called under the logging mutex and System::getStdOutMutex(); a line logged
/// in it is dropped.
using ConsoleWriter = void (*)(const ConsoleLine& line);

/// Lets the host write the lines of the console itself, for example in colour.
/// @param writer  called for each line from now on; null restores the default, which writes time, text and a
///                newline to standard output and flushes.
/// @return the previous writer, null for the default.
/// @threads any thread; the previous writer may still be running when this returns.
QEL_API ConsoleWriter setConsoleWriter(ConsoleWriter writer);

template <typename T>
void MessageStream::write(const T& value) {
    if constexpr (detail::Text<T> || detail::Number<T> || detail::Character<T>) {
        if (isPlain()) {
            if constexpr (detail::Text<T> && std::convertible_to<const T&, const char*>) {
                const char* text = value;
                if (text) writeText(text);
            } else if constexpr (detail::Text<T>) {
                writeText(value);
            } else if constexpr (detail::Character<T>) {
                writeCharacter(static_cast<char>(value));
            } else if constexpr (std::floating_point<T>) {
                writeNumber(static_cast<double>(value));
            } else if constexpr (std::is_signed_v<T>) {
                writeNumber(static_cast<long long>(value));
            } else {
                writeNumber(static_cast<unsigned long long>(value));
            }
            return;
        }
    }
    beginStreaming() << value;
    endStreaming();
}

} // namespace qel::logging
