// Registers and stack of a thread that a signal has stopped.
#pragma once

#include <qel/platform/crash.h>

namespace qel::platform {

/// Writes the registers, one per line. @param context  what the system passed to the signal handler.
void writeRegisters(CrashWriter& out, const void* context);

/// Writes the current position and the calls that led there, innermost first, by following the chain of frame
/// pointers. Return addresses are reported one byte lower, so that they lie within their call. Code built
/// without frame pointers breaks the chain. Requires readModules().
void writeCallChain(CrashWriter& out, const void* context);

/// Writes every word on the stack that points just after a call instruction: a superset of the calls, which
/// includes those after a break in the chain and also old ones. Requires readModules().
void writeStackScan(CrashWriter& out, const void* context);

} // namespace qel::platform
