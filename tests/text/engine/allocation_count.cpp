#include <tests/text/engine/allocation_count.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::size_t> g_count{0};
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    g_count.fetch_add(1, std::memory_order_relaxed);
    return std::malloc(size > 0 ? size : 1);
}

void* operator new(std::size_t size) {
    if (void* const memory = operator new(size, std::nothrow)) return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

std::size_t qel::test::allocationCount() {
    return g_count.load(std::memory_order_relaxed);
}
