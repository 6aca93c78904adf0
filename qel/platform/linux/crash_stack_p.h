// Registers and stack of a thread that a signal has stopped.
#pragma once

#include <qel/platform/crash.h>

namespace qel::platform {

/// Writes the registers, one a line. @param context  what the system hands to a signal handler.
void writeRegisters(CrashWriter& out, const void* context);

/// Writes where the thread was and the calls that led there, innermost first, by following the chain of frame
/// pointers. Return addresses are told one byte back, so that they lie in their call. Code that was built
/// without frame pointers breaks the chain. Needs readModules().
void writeCallChain(CrashWriter& out, const void* context);

/// Writes every word on the stack that lies behind a call instruction: a superset of the calls, in which
/// those of the broken part of the chain are found, and old ones too. Needs readModules().
void writeStackScan(CrashWriter& out, const void* context);

} // namespace qel::platform
