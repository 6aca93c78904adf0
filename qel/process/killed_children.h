// Collects children that were killed without waiting for their end.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel::internal {

/// Remembers a killed child, so that it is removed from the process table once it has ended.
/// @threads any thread.
QEL_API void addKilledChild(int64 id);

/// Removes the remembered children that have ended from the process table. It is called by every operation of
/// Process that checks its child and by every pass of System, and costs almost nothing while no killed child
/// is remembered.
/// @threads any thread.
QEL_API void collectKilledChildren();

/// Waits until all remembered children have ended, and removes them from the process table. System calls it
/// in deinitialize(), because no pass follows.
/// @param timeoutMs  the longest wait; a killed child may end late if it is blocked in the kernel.
/// @threads any thread.
QEL_API void awaitKilledChildren(int timeoutMs);

} // namespace qel::internal
