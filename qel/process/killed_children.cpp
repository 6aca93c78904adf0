#include <qel/process/killed_children.h>

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/mutex.h>
#include <qel/platform/child_process.h>
#include <qel/process/process_wait_p.h>

#include <algorithm>
#include <atomic>

namespace qel::internal {

namespace {

constinit Mutex g_mutex;
std::atomic<bool> g_hasKilled{false};

/// Returns the list, which is never destroyed: processes may be killed by the destructors of static objects.
Vector<int64>& killedLocked() QEL_REQUIRES(g_mutex) {
    static auto* const killed = new Vector<int64>();
    return *killed;
}

// Includes children that other code has collected.
bool isGone(int64 id) {
    bool ended = false;
    int exitCode = 0;
    return platform::collectChild(id, ended, exitCode) || ended;
}

} // namespace

void addKilledChild(int64 id) {
    const MutexLock lock(g_mutex);
    killedLocked().push_back(id);
    g_hasKilled.store(true, std::memory_order_relaxed);
}

void collectKilledChildren() {
    if (!g_hasKilled.load(std::memory_order_relaxed)) return;
    const MutexLock lock(g_mutex);
    std::erase_if(killedLocked(), &isGone);
    g_hasKilled.store(!killedLocked().empty(), std::memory_order_relaxed);
}

void awaitKilledChildren(int timeoutMs) {
    if (!g_hasKilled.load(std::memory_order_relaxed)) return;
    std::vector<platform::ProcessHandle> handles;
    {
        const MutexLock lock(g_mutex);
        for (const int64 id : killedLocked()) {
            platform::ProcessHandle handle;
            if (!handle.open(id)) handles.push_back(std::move(handle));
        }
    }
    waitForAll(handles, timeoutMs);
    collectKilledChildren();
}

} // namespace qel::internal
