// Hints to the processor.
#pragma once

namespace qel::platform {

/// Hints to the processor that the thread spins until another thread changes a value. Takes about 10 to 50
/// ns.
inline void relaxCpu() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

} // namespace qel::platform
