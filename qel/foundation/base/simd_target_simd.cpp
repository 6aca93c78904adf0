// Named like a kernel file, so that it is compiled for the same targets.
#include <qel/foundation/base/simd_target_p.h>

#include <qel/foundation/base/simd_dispatch_p.h>
#include <qel/platform/cpu_features.h>

#include <atomic>

namespace qel::internal {
namespace {

using platform::VectorLevel;

struct Target {
    const char* name;
    VectorLevel level;
    bool isBuilt;
};

/// Targets in the order of SimdTable.
constexpr std::array<Target, kSimdTargetCount> kTargets{{
    {"AVX3_DL", VectorLevel::AVX512Extended, (HWY_TARGETS & HWY_AVX3_DL) != 0},
    {"AVX3", VectorLevel::AVX512, (HWY_TARGETS & HWY_AVX3) != 0},
    {"AVX2", VectorLevel::AVX2, (HWY_TARGETS & HWY_AVX2) != 0},
    {"SSE4", VectorLevel::SSE4, (HWY_TARGETS & HWY_SSE4) != 0},
    {"SSSE3", VectorLevel::SSSE3, (HWY_TARGETS & HWY_SSSE3) != 0},
}};

constexpr size_t kUnknown = kSimdTargetCount;
constinit std::atomic<size_t> g_index{kUnknown};

bool isUsable(const Target& target) {
    return target.isBuilt && platform::hasVectorLevel(target.level);
}

/// Returns the first usable target with the name @p name, or of any name if it is empty.
size_t findTarget(std::string_view name) {
    size_t i = 0;
    while (i < kTargets.size() && !((name.empty() || name == kTargets[i].name) && isUsable(kTargets[i]))) ++i;
    return i;
}

} // namespace

size_t simdTargetIndex() {
    size_t index = g_index.load(std::memory_order_relaxed);
    if (index == kUnknown) {
        index = findTarget("");
        g_index.store(index, std::memory_order_relaxed);
    }
    return index;
}

Vector<std::string> simdTargets() {
    Vector<std::string> names;
    for (const Target& target : kTargets)
        if (isUsable(target)) names.emplace_back(target.name);
    return names;
}

bool setSimdTarget(std::string_view name) {
    const size_t index = findTarget(name);
    if (index == kUnknown) return false;
    g_index.store(index, std::memory_order_relaxed);
    return true;
}

} // namespace qel::internal
