#include "terminal.h"

#include <hosts/shared/standard_output.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/console.h>
#include <qel/system/core/system.h>

#include <chrono>
#include <string>

namespace qelhost::terminal {

namespace {

using SteadyClock = std::chrono::steady_clock;
constexpr auto kProgressPause = std::chrono::milliseconds(100); // faster changes cannot be read

/// Every access holds System::getStdOutMutex().
struct State {
    bool isTerminal = false;
    bool hasColor = false;
    std::string progress; ///< the progress line on the screen; empty if none is shown
    int progressColumns = 0;
    SteadyClock::time_point lastProgress;
};

State g_state;

/// Returns the output that erases the progress line. It uses spaces, which work on every terminal, unlike an
/// escape sequence.
std::string progressEraser() {
    if (g_state.progress.empty()) return {};
    return "\r" + std::string(static_cast<size_t>(g_state.progressColumns), ' ') + "\r";
}

/// Writes @p text, which ends with a newline, over the progress line, and the progress line below it.
void writeAboveProgress(const std::string& text) {
    qelhosts::print(progressEraser() + text + g_state.progress);
}

const char* colorOf(int level) {
    static constexpr const char* kColors[] = {"\x1b[2m", "", "\x1b[33m", "\x1b[31m", "\x1b[1;31m"};
    return level >= 0 && level < 5 ? kColors[level] : "";
}

void writeLogLine(const qel::logging::ConsoleLine& line) {
    const std::string time(line.time);
    const std::string text(line.text);
    if (!g_state.hasColor) return writeAboveProgress(time + text + "\n");
    const char* color = colorOf(line.level);
    writeAboveProgress("\x1b[2m" + time + "\x1b[0m" + color + text + (*color ? "\x1b[0m\n" : "\n"));
}

} // namespace

void install() {
    using qel::platform::StandardStream;
    qel::MutexLock lock(qel::System::getStdOutMutex());
    g_state.isTerminal = qel::platform::isTerminal(StandardStream::Output);
    g_state.hasColor = qel::platform::wantsColor(StandardStream::Output);
    qel::logging::setConsoleWriter(&writeLogLine);
}

void remove() {
    showProgress("");
    qel::logging::setConsoleWriter(nullptr);
}

void print(std::string_view text) {
    qel::MutexLock lock(qel::System::getStdOutMutex());
    writeAboveProgress(std::string(text) + "\n");
}

void showProgress(std::string_view text) {
    qel::MutexLock lock(qel::System::getStdOutMutex());
    if (!g_state.isTerminal) return;
    const SteadyClock::time_point now = SteadyClock::now();
    if (!text.empty() && now - g_state.lastProgress < kProgressPause) return;
    g_state.lastProgress = now;
    const std::string eraser = progressEraser();
    // The last column stays free, because a terminal would start a new line after it.
    const int columns = qel::platform::terminalWidth(qel::platform::StandardStream::Output) - 1;
    const qel::String line(text);
    g_state.progress = line.utf8_ellipsis(columns);
    g_state.progressColumns = columns;
    qelhosts::print(eraser + g_state.progress);
}

} // namespace qelhost::terminal
