#include <qel/platform/mapped_file.h>

#include <qel/platform/linux/file_system_p.h>
#include <qel/platform/linux/mapped_window_p.h>

#include <atomic>
#include <cstdint>
#include <mutex>

#include <sys/mman.h>
#include <unistd.h>

namespace qel::platform {

namespace {

/// A mapped window. Entries are reused but never freed, because the signal handler reads them without a lock.
struct Window {
    std::atomic<std::uintptr_t> begin{0}; // 0 for a free entry
    std::atomic<std::uintptr_t> end{0};   // changes only while the entry is free
    std::atomic<bool> wasMended{false};
    Window* next = nullptr;
};
static_assert(std::atomic<std::uintptr_t>::is_always_lock_free && std::atomic<Window*>::is_always_lock_free);

std::atomic<Window*> g_windows{nullptr};
std::atomic<std::uintptr_t> g_pageMask{0};
// Guards changes of the entries and the handler's installation; the handler never locks it.
std::mutex g_mutex;
bool g_isInstalled = false;
struct sigaction g_previous;

Window* findWindow(std::uintptr_t address) {
    for (Window* window = g_windows.load(std::memory_order_acquire); window; window = window->next) {
        const std::uintptr_t begin = window->begin.load(std::memory_order_acquire);
        if (begin != 0 && address >= begin && address < window->end.load(std::memory_order_acquire))
            return window;
    }
    return nullptr;
}

/// Passes a fault outside all windows to the handler that was there before. Without one, the access is
/// repeated with the signal's default action, which ends the process.
void passOn(int number, siginfo_t* info, void* context) {
    const bool isSent = info->si_code <= 0; // by another process: no access will be repeated
    if (g_previous.sa_flags & SA_SIGINFO) return g_previous.sa_sigaction(number, info, context);
    if (g_previous.sa_handler != SIG_DFL && g_previous.sa_handler != SIG_IGN)
        return g_previous.sa_handler(number);
    if (isSent && g_previous.sa_handler == SIG_IGN) return;
    std::signal(number, SIG_DFL);
    if (isSent) std::raise(number); // delivered when this handler returns
}

void onBusError(int number, siginfo_t* info, void* context) {
    if (!mendMappedWindow(*info)) passOn(number, info, context);
}

void installHandler() {
    if (g_isInstalled) return;
    g_pageMask = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE)) - 1;
    struct sigaction action {};
    action.sa_sigaction = &onBusError;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    g_isInstalled = sigaction(SIGBUS, &action, &g_previous) == 0;
}

/// Registers a window before any thread can access it.
void addWindow(std::uintptr_t begin, std::size_t size) {
    const std::lock_guard lock(g_mutex);
    installHandler();
    Window* window = g_windows.load();
    while (window && window->begin != 0) window = window->next;
    if (!window) {
        window = new Window;
        window->next = g_windows.load();
        g_windows.store(window, std::memory_order_release);
    }
    window->wasMended = false;
    window->end = begin + size;
    window->begin.store(begin, std::memory_order_release);
}

} // namespace

bool mendMappedWindow(const siginfo_t& info) {
    const int savedError = errno;
    const auto address = reinterpret_cast<std::uintptr_t>(info.si_addr);
    Window* window = info.si_code > 0 ? findWindow(address) : nullptr;
    if (!window) return false;
    const std::uintptr_t mask = g_pageMask.load();
    void* page = reinterpret_cast<void*>(address & ~mask);
    const bool isMended = mmap(page, mask + 1, PROT_READ | PROT_WRITE,
                               MAP_FIXED | MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED;
    if (isMended) window->wasMended = true;
    errno = savedError;
    return isMended;
}

FileError openForMapping(FileHandle& file, const char* path, bool forWriting) {
    int id = -1;
    const FileError error = perform(Operation::Open, [&] {
        return id = ::open(path, (forWriting ? O_RDWR : O_RDONLY) | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    });
    if (!error) file = FileHandle(id);
    return error;
}

FileError mapWindow(void*& address, const FileHandle& file, std::uint64_t offset, std::size_t size,
                    bool forWriting) {
    void* mapped = nullptr;
    const FileError error = perform(Operation::Map, [&] {
        mapped = mmap(nullptr, size, forWriting ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED, file.id(),
                      static_cast<off_t>(offset));
        return mapped == MAP_FAILED ? -1 : 0;
    });
    if (error) return error;
    addWindow(reinterpret_cast<std::uintptr_t>(mapped), size);
    address = mapped;
    return {};
}

bool unmapWindow(void* address) {
    const std::lock_guard lock(g_mutex);
    const auto begin = reinterpret_cast<std::uintptr_t>(address);
    Window* window = findWindow(begin);
    if (!window || window->begin != begin) return true;
    window->begin = 0;
    munmap(address, window->end - begin);
    return !window->wasMended;
}

FileError flushWindow(void* address, std::size_t size) {
    return perform(Operation::Sync, [&] { return msync(address, size, MS_SYNC); });
}

} // namespace qel::platform
