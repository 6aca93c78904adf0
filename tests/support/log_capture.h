// Log lines in tests: every line is taken, and a warning or error that no test claimed fails the test.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace qel::test {

/// A line as it was logged.
struct LogLine {
    int level;
    int channels;
    /// Without the level's prefix, without a time.
    std::string text;

    friend bool operator==(const LogLine&, const LogLine&) = default;
};

/// Prints a line for messages of failed tests.
std::ostream& operator<<(std::ostream& out, const LogLine& line);

/// The lines logged since this object was made, on any thread. Nothing of them is shown on the console.
///
/// @code
/// LogCapture capture;
/// buffer.loadFromFile("/nowhere", false, false);
/// capture.expect(3, "cant open file '/nowhere'");
/// @endcode
class LogCapture {
public:
    LogCapture();

    /// Claims the first unclaimed line of this level and text; fails the test when there is none.
    void expect(int level, const std::string& text);
    /// Claims and returns all lines that are unclaimed.
    std::vector<LogLine> take();

private:
    std::size_t m_begin;
};

/// Takes over the console of the log and watches over the tests. Called once, before they run.
void installLogGuard();

} // namespace qel::test
