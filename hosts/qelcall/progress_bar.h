// ProgressBar: the course of a job on standard error.
#pragma once

#include <string>

namespace qelcall {

/// Draws a bar over itself on a terminal; elsewhere writes a line when the state changes.
class ProgressBar {
public:
    /// Shows how far the job is. @param progress  0 to 1; what lies outside is clamped.
    void show(const std::string& state, double progress);
    /// Leaves the bar and begins a new line.
    void end();

private:
    std::string m_shown;
    std::string m_state;
};

/// The line that shows @p state at @p progress in @p width columns.
std::string formatProgress(const std::string& state, double progress, int width);

} // namespace qelcall
