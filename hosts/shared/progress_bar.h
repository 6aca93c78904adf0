// ProgressBar: shows the progress of long work on standard error.
#pragma once

#include <string>

namespace qelhosts {

/// Draws a bar on a terminal, in place of the previous one. Elsewhere it writes a line for each new state.
class ProgressBar {
public:
    /// Shows the state and progress of the work. @param progress  0 to 1; other values are clamped.
    void show(const std::string& state, double progress);
    /// Ends the line of the bar.
    void end();
    /// Erases the bar; the next one is shown in the same line.
    void clear();

private:
    std::string m_shown;
    std::string m_state;
};

/// Returns a line of at most @p width columns that shows @p state and @p progress; longer if the state does
/// not fit.
std::string formatProgress(const std::string& state, double progress, int width);

} // namespace qelhosts
