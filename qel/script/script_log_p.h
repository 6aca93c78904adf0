// The log lines of the script machine: printed strings, compiler and run-time errors, the call stack.
#pragma once

#include <qel/foundation/base/string.h>
#include <qel/platform/crash.h>

#include <squirrel.h>

namespace qelSq::internal {

/// Sends the output of the machine's print functions and its errors to the log, and its call stack to crash
/// dumps.
void installLogging(SQVM* vm);

/// Returns a string that states the type and the content of the value at @p index.
qel::String formatScriptValue(SQVM* vm, SQInteger index);

/// Returns "CALLSTACK:" and, for each of the first 20 levels above the running native function, one line for
/// the function and one for each of its locals.
qel::String formatCallStack(SQVM* vm);

/// Script function: logs the call stack at info level.
SQInteger showContext(SQVM* vm);

/// Native closure: logs the error at stack index 2 with the call stack.
SQInteger reportRuntimeError(SQVM* vm);

/// Writes the call stack of the running script into a crash dump. It only reads, but it reads the machine's
/// own records, which a crash inside the machine may have left inconsistent.
void writeCrashStack(qel::platform::CrashWriter& out);

} // namespace qelSq::internal
