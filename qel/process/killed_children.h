// Children that were killed without waiting for their end.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel::internal {

/// Remembers a child that has been killed, to take it off the process table when it has ended.
/// @threads any thread.
QEL_API void addKilledChild(int64 id);

/// Takes those off the process table that have ended by now. Every operation of Process that looks at its
/// child does it, and every pass of System; it costs next to nothing when there are none.
/// @threads any thread.
QEL_API void collectKilledChildren();

} // namespace qel::internal
