// Writes a dump when the process crashes, by means that work in a signal handler: no allocation, no lock.
#pragma once

#include <qel/platform/api.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qel::platform {

/// Text on its way into the dump. Every operation may be called in a signal handler.
/// @threads the crashing thread alone.
class QEL_API CrashWriter {
public:
    /// @param descriptor  where the text goes; stays the caller's.
    explicit CrashWriter(int descriptor) : m_descriptor(descriptor) {}
    ~CrashWriter() { flush(); }
    CrashWriter(const CrashWriter&) = delete;
    CrashWriter& operator=(const CrashWriter&) = delete;

    /// Appends @p text as it is.
    CrashWriter& text(std::string_view text);
    /// Appends @p text with control characters replaced by blanks, so that it stays on its line.
    CrashWriter& line(std::string_view text);
    /// Appends a zero-terminated text; null appends nothing.
    CrashWriter& cstr(const char* text);
    /// Appends @p value in decimal digits.
    CrashWriter& decimal(std::int64_t value);
    /// Appends @p value as "0x" and hexadecimal digits.
    CrashWriter& hex(std::uint64_t value);
    /// Hands what was appended so far to the system.
    void flush();

private:
    static constexpr std::size_t kCapacity = 1024;
    int m_descriptor;
    std::size_t m_size = 0;
    char m_buffer[kCapacity];
};

/// Installs the handler for the fatal signals (SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS). At
/// a crash it creates the file @p dumpPath (replacing an old one, readable by the user alone), writes the
/// dump and lets the signal's default action end the process. A file that cannot be created means no dump.
/// Calling it again replaces path and identity. The calling thread gets an alternate stack, so that its stack
/// overflow is told too.
/// @param identity  what was built, one line; copied.
/// @return false when @p dumpPath is longer than 4,095 bytes or the system refuses the handler.
/// @threads one thread at a time; do not call beside a crash.
QEL_API bool installCrashHandler(const std::string& dumpPath, const std::string& identity);

/// Puts back what installCrashHandler replaced. Without one, does nothing.
/// @threads as installCrashHandler.
QEL_API void removeCrashHandler();

/// An alternate signal stack for the thread that makes it, without which the stack overflow of a thread
/// leaves no dump. The thread that installs the handler has one; worker threads make one at their start. A
/// thread that has an alternate stack already keeps that one.
/// @threads made and destroyed on one thread.
class QEL_API CrashStack {
public:
    CrashStack();
    ~CrashStack();
    CrashStack(const CrashStack&) = delete;
    CrashStack& operator=(const CrashStack&) = delete;

private:
    void* m_memory = nullptr;
};

/// Writes the call stack of the script that runs on the crashing thread, one line for each level; writes
/// nothing when none runs. Runs in the signal handler: it must not allocate or lock, and what it follows may
/// be damaged. Whatever it writes before a fault of its own is kept.
using ScriptStackWriter = void (*)(CrashWriter& out);

/// Sets who writes the section "script stack" of the dump; nullptr for nobody.
/// @threads any thread.
QEL_API void setScriptStackWriter(ScriptStackWriter writer);

/// Keeps a copy of @p line for the section "log" of the dump, which shows the last 64 lines. Lines are cut at
/// 248 bytes. Costs a copy: it neither allocates nor locks, and works before any handler is installed.
/// @threads any thread. A line is dropped when 64 others come while it is being copied.
QEL_API void rememberLogLine(std::string_view line) noexcept;

/// Writes the lines kept by rememberLogLine, oldest first, each with two blanks ahead and a newline behind.
/// @threads any thread, signal handlers too; lines that are being replaced meanwhile are left out.
QEL_API void writeRememberedLogLines(CrashWriter& out);

} // namespace qel::platform
