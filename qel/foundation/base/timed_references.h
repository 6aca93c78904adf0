// References that end later, on a chosen thread.
#pragma once

#include <qel/platform/api.h>

namespace qel {

class Object;

namespace internal {

/// Takes over one reference of the caller's, to be released by removeAllTimedReferences(). @threads any
/// thread.
QEL_API void addTimedReference(Object* object);
/// Takes over one reference, to be released by removeAllTimedReferencesParallel(). @threads any thread.
QEL_API void addTimedReferenceParallel(Object* object);

/// Releases what waits for the main thread, last in, first out, including what dying objects add meanwhile.
/// @return whether at least one reference was released. @threads main thread.
QEL_API bool removeAllTimedReferences();
/// The same for what waits for a worker. @threads any thread.
QEL_API bool removeAllTimedReferencesParallel();

} // namespace internal
} // namespace qel
