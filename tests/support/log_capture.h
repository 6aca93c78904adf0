// Log lines in tests: every line is captured, and an unclaimed warning or error fails the test.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace qel::test {

/// A line that was logged.
struct LogLine {
    int level;
    int channels;
    /// The text without the level's prefix and the time.
    std::string text;

    friend bool operator==(const LogLine&, const LogLine&) = default;
};

/// Prints a line for the messages of failed tests.
std::ostream& operator<<(std::ostream& out, const LogLine& line);

/// Captures the lines logged since this object was created, on any thread. They are not shown on the console.
///
/// @code
/// LogCapture capture;
/// buffer.loadFromFile("/nowhere", false, false);
/// capture.expect(3, "cant open file '/nowhere'");
/// @endcode
class LogCapture {
public:
    LogCapture();

    /// Claims the first unclaimed line of this level and text; fails the test if no line is.
    void expect(int level, const std::string& text);
    /// Claims and returns all unclaimed lines.
    std::vector<LogLine> take();

private:
    std::size_t m_begin;
};

/// Redirects the console of the log and watches the tests. Called once, before they run.
void installLogGuard();

} // namespace qel::test
