#include <qel/foundation/log/console_p.h>

#include <qel/foundation/base/mutex.h>
#include <qel/system/core/system.h>

#include <cstdio>

#include <fmt/format.h>

namespace qel {

Mutex& System::getStdOutMutex() {
    static Mutex mutex;
    return mutex;
}

namespace logging {

std::atomic<bool> g_hideVerboseOutputInConsole = false;
std::atomic<bool> g_hideTimeInConsole = false;
std::atomic<bool> g_isCompactLogEnabled = false;

namespace {

std::atomic<ConsoleWriter> g_consoleWriter = nullptr;

void writeToStandardOutput(const ConsoleLine& line) {
    std::fwrite(line.time.data(), 1, line.time.size(), stdout);
    std::fwrite(line.text.data(), 1, line.text.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

} // namespace

ConsoleTime::ConsoleTime(uint32 milliseconds, bool isForCustomers) {
    const char* form = isForCustomers ? "<{:3}.{:03}> " : "[{:3}.{:03}] ";
    const auto result = fmt::format_to_n(m_text.data(), m_text.size(), fmt::runtime(form),
                                         milliseconds / 1000, milliseconds % 1000);
    m_size = result.size;
}

ConsoleWriter setConsoleWriter(ConsoleWriter writer) {
    return g_consoleWriter.exchange(writer);
}

void writeToConsole(const ConsoleLine& line) {
    const ConsoleWriter writer = g_consoleWriter;
    const MutexLock lock(System::getStdOutMutex());
    (writer ? writer : writeToStandardOutput)(line);
}

} // namespace logging

} // namespace qel
