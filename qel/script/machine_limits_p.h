// Keeps scripts from what the machine's own library does not survive.
#pragma once

#include <qel/script/object.h>

namespace qelSq {

class VM;

namespace internal {

/// Coroutines (`newthread`) that may have called each other without having returned: each has a piece of the
/// native stack.
constexpr int kMaxCoroutineDepth = 16;
/// Elements of an array, bytes of a blob, that a script may ask for at once; the machine does not survive an
/// allocation that fails.
constexpr SQInteger kMaxElements = SQInteger{1} << 27;

/// Bounds the root functions and the coroutines of @p vm. To be called before any script runs.
void limitMachine(VM& vm);

/// Bounds what the io and blob libraries have put into the table `std`, given as @p table.
void limitStandardLibrary(Object& table);

} // namespace internal
} // namespace qelSq
