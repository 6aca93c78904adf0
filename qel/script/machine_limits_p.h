// Limits that protect the host from script calls that would crash the machine's own library.
#pragma once

#include <qel/script/object.h>

namespace qelSq {

class VM;

namespace internal {

/// The number of coroutines (`newthread`) that may have called each other without having returned. Each takes
/// part of the native stack.
constexpr int kMaxCoroutineDepth = 16;
/// The number of array elements or blob bytes that a script may request at once. The engine does not survive
/// a failed allocation.
constexpr SQInteger kMaxElements = SQInteger{1} << 27;

/// Limits the root functions and the coroutines of @p vm. Must be called before any script runs.
void limitMachine(VM& vm);

/// Limits the functions that the io and blob libraries have added to @p table, the table `std`.
void limitStandardLibrary(Object& table);

} // namespace internal
} // namespace qelSq
