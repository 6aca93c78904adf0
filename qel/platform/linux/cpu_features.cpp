#include <qel/platform/cpu_features.h>

#include <cpuid.h>

namespace qel::platform {

namespace {

/// Tests a bit of the CPUID instruction that the compiler's own test doesn't know. Such bits say nothing
/// about the operating system, so they are only tested together with those of the compiler.
bool hasCpuidBit(unsigned leaf, unsigned bitOfEcx) {
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    return __get_cpuid_count(leaf, 0, &eax, &ebx, &ecx, &edx) != 0 && (ecx >> bitOfEcx & 1) != 0;
}

bool hasSSE4() {
    return __builtin_cpu_supports("sse4.1") && __builtin_cpu_supports("sse4.2") &&
           __builtin_cpu_supports("aes") && __builtin_cpu_supports("pclmul");
}

bool hasAVX2() {
    constexpr unsigned kF16C = 29;
    constexpr unsigned kLzcnt = 5;
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") && __builtin_cpu_supports("bmi") &&
           __builtin_cpu_supports("bmi2") && hasCpuidBit(1, kF16C) && hasCpuidBit(0x80000001, kLzcnt);
}

bool hasAVX512() {
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512cd") &&
           __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq") &&
           __builtin_cpu_supports("avx512bw");
}

bool hasAVX512Extended() {
    constexpr unsigned kVaes = 9;
    return __builtin_cpu_supports("avx512vnni") && __builtin_cpu_supports("avx512vbmi") &&
           __builtin_cpu_supports("avx512vbmi2") && __builtin_cpu_supports("avx512bitalg") &&
           __builtin_cpu_supports("avx512vpopcntdq") && __builtin_cpu_supports("gfni") &&
           __builtin_cpu_supports("vpclmulqdq") && hasCpuidBit(7, kVaes);
}

} // namespace

bool hasVectorLevel(VectorLevel level) {
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("ssse3")) return false;
    if (level >= VectorLevel::SSE4 && !hasSSE4()) return false;
    if (level >= VectorLevel::AVX2 && !hasAVX2()) return false;
    if (level >= VectorLevel::AVX512 && !hasAVX512()) return false;
    return level < VectorLevel::AVX512Extended || hasAVX512Extended();
}

} // namespace qel::platform
