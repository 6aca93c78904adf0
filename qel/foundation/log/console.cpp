#include <qel/foundation/log/console_p.h>

#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/write_whole.h>
#include <qel/system/core/system.h>

#include <charconv>
#include <string>

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
    std::string whole(line.time);
    whole += line.text;
    whole += '\n';
    writeToStandardStream(platform::StandardStream::Output, whole); // an error could not be reported anywhere
}

} // namespace

ConsoleTime::ConsoleTime(uint32 milliseconds, bool isForCustomers) {
    const uint32 seconds = milliseconds / 1000;
    char* out = m_text.data();
    *out++ = isForCustomers ? '<' : '[';
    if (seconds < 100) *out++ = ' ';
    if (seconds < 10) *out++ = ' ';
    out = std::to_chars(out, m_text.data() + m_text.size(), seconds).ptr;
    *out++ = '.';
    for (const uint32 unit : {100, 10, 1}) *out++ = static_cast<char>('0' + milliseconds / unit % 10);
    *out++ = isForCustomers ? '>' : ']';
    *out++ = ' ';
    m_size = static_cast<size_t>(out - m_text.data());
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
