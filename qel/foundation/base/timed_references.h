// References that are released later, on a chosen thread.
#pragma once

#include <qel/platform/api.h>

namespace qel {

class Object;

namespace internal {

/// Takes over one reference of the caller, to be released by removeAllTimedReferences(). @threads any thread.
QEL_API void addTimedReference(Object* object);
/// Takes over one reference, to be released by removeAllTimedReferencesParallel(). @threads any thread.
QEL_API void addTimedReferenceParallel(Object* object);

/// Releases the references that wait for the main thread, last in, first out, including those that dying
/// objects add in the meantime.
/// @return true if at least one reference was released. @threads main thread.
QEL_API bool removeAllTimedReferences();
/// Releases the references that wait for a worker, in the same way. @threads any thread.
QEL_API bool removeAllTimedReferencesParallel();

} // namespace internal
} // namespace qel
