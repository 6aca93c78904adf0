#include <qel/process/killed_children.h>

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/mutex.h>
#include <qel/platform/child_process.h>
#include <qel/process/process_wait_p.h>

#include <algorithm>
#include <atomic>

namespace qel::internal {

namespace {

Mutex g_mutex;
Vector<int64> g_killed QEL_GUARDED_BY(g_mutex);
std::atomic<bool> g_hasKilled{false};

// Includes children that other code has collected.
bool isGone(int64 id) {
    bool ended = false;
    int exitCode = 0;
    return platform::collectChild(id, ended, exitCode) || ended;
}

} // namespace

void addKilledChild(int64 id) {
    const MutexLock lock(g_mutex);
    g_killed.push_back(id);
    g_hasKilled.store(true, std::memory_order_relaxed);
}

void collectKilledChildren() {
    if (!g_hasKilled.load(std::memory_order_relaxed)) return;
    const MutexLock lock(g_mutex);
    std::erase_if(g_killed, &isGone);
    g_hasKilled.store(!g_killed.empty(), std::memory_order_relaxed);
}

void awaitKilledChildren(int timeoutMs) {
    if (!g_hasKilled.load(std::memory_order_relaxed)) return;
    std::vector<platform::ProcessHandle> handles;
    {
        const MutexLock lock(g_mutex);
        for (const int64 id : g_killed) {
            platform::ProcessHandle handle;
            if (!handle.open(id)) handles.push_back(std::move(handle));
        }
    }
    waitForAll(handles, timeoutMs);
    collectKilledChildren();
}

} // namespace qel::internal
