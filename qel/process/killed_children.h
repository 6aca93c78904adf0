// Children that were killed without waiting for their end.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel::internal {

/// Remembers a child that has been killed, so that it is taken off the process table once it has ended.
/// @threads any thread.
QEL_API void addKilledChild(int64 id);

/// Takes the remembered children that have ended off the process table. Every operation of Process that
/// looks at its child calls this, and so does every pass of System; it costs next to nothing while no killed
/// child is remembered.
/// @threads any thread.
QEL_API void collectKilledChildren();

/// Waits until all remembered children have ended, and takes them off the process table. System calls this
/// when it is deinitialized, since no pass follows.
/// @param timeoutMs  the longest wait: a child that the kernel holds up ends late even when killed.
/// @threads any thread.
QEL_API void awaitKilledChildren(int timeoutMs);

} // namespace qel::internal
