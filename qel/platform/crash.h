// Writes a dump when the process crashes, using only what is safe in a signal handler: no allocation, no
// locks.
#pragma once

#include <qel/platform/api.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qel::platform {

/// Buffers text for the dump. Every operation may be called in a signal handler.
/// @threads only the crashing thread.
class QEL_API CrashWriter {
public:
    /// @param descriptor  receives the text; the caller keeps ownership.
    explicit CrashWriter(int descriptor) : m_descriptor(descriptor) {}
    ~CrashWriter() { flush(); }
    CrashWriter(const CrashWriter&) = delete;
    CrashWriter& operator=(const CrashWriter&) = delete;

    /// Appends @p text unchanged.
    CrashWriter& text(std::string_view text);
    /// Appends @p text with control characters replaced by spaces, so that it stays on one line.
    CrashWriter& line(std::string_view text);
    /// Appends a zero-terminated string; null appends nothing.
    CrashWriter& cstr(const char* text);
    /// Appends @p value in decimal digits.
    CrashWriter& decimal(std::int64_t value);
    /// Appends @p value as "0x" and hexadecimal digits.
    CrashWriter& hex(std::uint64_t value);
    /// Writes the buffered text to the descriptor.
    void flush();

private:
    static constexpr std::size_t kCapacity = 1024;
    int m_descriptor;
    std::size_t m_size = 0;
    char m_buffer[kCapacity];
};

/// Installs the handler for the fatal signals (SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS). In
/// a crash it creates the file @p dumpPath (replacing an old one, readable by the user alone), writes the
/// dump, and lets the signal's default action end the process. If the file cannot be created, no dump is
/// written. Another call replaces the path and the identity. The calling thread gets an alternate stack, so
/// that its stack overflow is reported too.
/// @param identity  one line that identifies the build; copied.
/// @return false if @p dumpPath is longer than 4,095 bytes or the system refuses the handler.
/// @threads one thread at a time, and not during a crash.
QEL_API bool installCrashHandler(const std::string& dumpPath, const std::string& identity);

/// Restores the handlers that installCrashHandler replaced. Does nothing if it was not called.
/// @threads as installCrashHandler.
QEL_API void removeCrashHandler();

/// An alternate signal stack for the thread that creates it. Without one, a stack overflow of that thread
/// leaves no dump. installCrashHandler provides one for its thread; worker threads create one when they
/// start. A thread that already has an alternate stack keeps it.
/// @threads must be created and destroyed on the same thread.
class QEL_API CrashStack {
public:
    CrashStack();
    ~CrashStack();
    CrashStack(const CrashStack&) = delete;
    CrashStack& operator=(const CrashStack&) = delete;

private:
    void* m_memory = nullptr;
};

/// Writes the call stack of the script that is running on the crashing thread, one line per level; writes
/// nothing if none is running. It is called in the signal handler, so it must not allocate or lock, and the
/// data it follows may be damaged. What it wrote before a fault of its own is kept.
using ScriptStackWriter = void (*)(CrashWriter& out);

/// Sets the function that writes the section "script stack" of the dump; nullptr for none.
/// @threads any thread.
QEL_API void setScriptStackWriter(ScriptStackWriter writer);

/// Keeps a copy of @p line for the section "log" of the dump, which shows the last 64 lines. Lines are cut at
/// 248 bytes. It only copies: it neither allocates nor locks, and it works before any handler is installed.
/// @threads any thread. A line is dropped if 64 others arrive while it is being copied.
QEL_API void rememberLogLine(std::string_view line) noexcept;

/// Writes the lines kept by rememberLogLine, oldest first, each after two spaces and followed by a newline.
/// @threads any thread, also in signal handlers; lines that are being replaced meanwhile are left out.
QEL_API void writeRememberedLogLines(CrashWriter& out);

} // namespace qel::platform
