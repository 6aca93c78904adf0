#include <tests/text/engine/allocation_count.h>

#include <atomic>
#include <cstdlib>
#include <new>

// The thread sanitizer links operators of its own into the program.
#if defined(__SANITIZE_THREAD__)
#define QEL_TEST_HAS_FOREIGN_NEW 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define QEL_TEST_HAS_FOREIGN_NEW 1
#endif
#endif
#ifndef QEL_TEST_HAS_FOREIGN_NEW
#define QEL_TEST_HAS_FOREIGN_NEW 0
#endif

namespace {
std::atomic<std::size_t> g_count{0};
std::atomic<std::size_t> g_freed{0};
} // namespace

#if !QEL_TEST_HAS_FOREIGN_NEW

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    g_count.fetch_add(1, std::memory_order_relaxed);
    return std::malloc(size > 0 ? size : 1);
}

void* operator new(std::size_t size) {
    if (void* const memory = operator new(size, std::nothrow)) return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    if (memory) g_freed.fetch_add(1, std::memory_order_relaxed);
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}

#endif

bool qel::test::countsAllocations() {
    return !QEL_TEST_HAS_FOREIGN_NEW;
}

std::size_t qel::test::allocationCount() {
    return g_count.load(std::memory_order_relaxed);
}

std::size_t qel::test::liveAllocationCount() {
    return allocationCount() - g_freed.load(std::memory_order_relaxed);
}
