#include "terminal.h"

#include <qel/foundation/base/string.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/console.h>
#include <qel/system/core/system.h>

#include <chrono>
#include <cstdio>
#include <string>

namespace qelhost::terminal {

namespace {

using SteadyClock = std::chrono::steady_clock;
constexpr auto kProgressPause = std::chrono::milliseconds(100); // a faster line can't be read

/// Everything here is touched under System::getStdOutMutex() only.
struct State {
    bool isTerminal = false;
    bool hasColor = false;
    std::string progress; ///< the line on the screen; empty if there is none
    int progressColumns = 0;
    SteadyClock::time_point lastProgress;
};

State g_state;

void write(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
}

/// Blanks instead of an escape sequence: they work on every terminal.
void eraseProgress() {
    if (g_state.progress.empty()) return;
    write("\r" + std::string(static_cast<size_t>(g_state.progressColumns), ' ') + "\r");
}

const char* colorOf(int level) {
    static constexpr const char* kColors[] = {"\x1b[2m", "", "\x1b[33m", "\x1b[31m", "\x1b[1;31m"};
    return level >= 0 && level < 5 ? kColors[level] : "";
}

void writeLogLine(const qel::logging::ConsoleLine& line) {
    eraseProgress();
    if (g_state.hasColor) {
        const char* color = colorOf(line.level);
        write("\x1b[2m");
        write(line.time);
        write("\x1b[0m");
        write(color);
        write(line.text);
        write(*color ? "\x1b[0m\n" : "\n");
    } else {
        write(line.time);
        write(line.text);
        write("\n");
    }
    write(g_state.progress);
    std::fflush(stdout);
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
    eraseProgress();
    write(text);
    write("\n");
    write(g_state.progress);
    std::fflush(stdout);
}

void showProgress(std::string_view text) {
    qel::MutexLock lock(qel::System::getStdOutMutex());
    if (!g_state.isTerminal) return;
    const SteadyClock::time_point now = SteadyClock::now();
    if (!text.empty() && now - g_state.lastProgress < kProgressPause) return;
    g_state.lastProgress = now;
    eraseProgress();
    // The last column stays free: a terminal would begin a new line behind it.
    const int columns = qel::platform::terminalWidth(qel::platform::StandardStream::Output) - 1;
    const qel::String line(text);
    g_state.progress = line.utf8_ellipsis(columns);
    g_state.progressColumns = columns;
    write(g_state.progress);
    std::fflush(stdout);
}

} // namespace qelhost::terminal
