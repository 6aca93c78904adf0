// Waits for the end of processes.
#pragma once

#include <qel/platform/child_process.h>

#include <vector>

namespace qel::internal {

/// Waits until all @p processes have ended, or until @p timeoutMs milliseconds have passed if that is not
/// negative. Afterwards @p processes contains those that are still running.
platform::FileError waitForAll(std::vector<platform::ProcessHandle>& processes, int timeoutMs);

} // namespace qel::internal
