// Waiting for the end of processes.
#pragma once

#include <qel/platform/child_process.h>

#include <vector>

namespace qel::internal {

/// Waits until all of @p processes have ended or @p timeoutMs have passed, below 0 for ever. Those that still
/// run are left in the list.
platform::FileError waitForAll(std::vector<platform::ProcessHandle>& processes, int timeoutMs);

} // namespace qel::internal
