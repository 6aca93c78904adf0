// What the script machine writes to the log: printed texts, compiler and run-time errors, the call stack.
#pragma once

#include <qel/foundation/base/string.h>
#include <qel/platform/crash.h>

#include <squirrel.h>

namespace qelSq::internal {

/// Directs the machine's print functions and errors to the log, and its call stack to crash dumps.
void installLogging(SQVM* vm);

/// The text that tells type and content of the value at @p index.
qel::String formatScriptValue(SQVM* vm, SQInteger index);

/// "CALLSTACK:" and, for each of the first 20 levels above the running native function, a line with the
/// function and one for each of its locals.
qel::String formatCallStack(SQVM* vm);

/// Script function: logs the call stack at info level.
SQInteger showContext(SQVM* vm);

/// Native closure: logs the error at index 2 with the call stack.
SQInteger reportRuntimeError(SQVM* vm);

/// Writes the call stack of the running script into a crash dump. It only reads, but reads the machine's own
/// records, which a crash within the machine may have left half changed.
void writeCrashStack(qel::platform::CrashWriter& out);

} // namespace qelSq::internal
