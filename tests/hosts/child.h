// Child: a program that runs beside a test and ends with it.
#pragma once

#include <qel/platform/child_process.h>

#include <cstdint>
#include <string>
#include <vector>

namespace qel::test {

/// A program on pipes that is ended by the destructor, and by the system if the test program ends without it.
/// Every wait has a limit that a pause of the whole machine does not use up.
/// @threads the main thread.
class Child {
public:
    /// Starts a program in @p folder; fails the test if that is not possible.
    Child(const std::vector<std::string>& command, const std::string& folder);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Returns the number of the process.
    std::int64_t getId() const { return m_id; }
    /// Writes a line to standard input.
    void writeLine(const std::string& line);
    /// Closes standard input.
    void closeInput() { m_input.close(); }
    /// Reads the next line of standard output or standard error.
    /// @return false if both are closed, or if no line has arrived within a minute.
    bool readLine(std::string& line);
    /// Waits for the end of the program, at most a minute after its last line.
    /// @return its exit status; 128 + the number of the signal that ended it; -1 if it has not ended.
    int finish();
    /// Returns what readLine() and finish() have read so far.
    const std::string& getOutput() const { return m_output; }

private:
    bool waitForOutput();
    bool collect();

    std::int64_t m_id = 0;
    platform::FileHandle m_input;
    platform::FileHandle m_outputs;
    std::string m_output;
    size_t m_taken = 0; ///< bytes of m_output that readLine() has returned
    bool m_isEnded = false;
    int m_status = -1;
};

} // namespace qel::test
