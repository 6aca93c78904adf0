// Carries the name of a kernel file, so that it is compiled for the same targets as they are.
#include <qel/foundation/base/simd_target_p.h>

#include <hwy/highway.h>

#include <algorithm>

namespace qel::internal {
namespace {

const Vector<int64_t>& availableTargets() {
    static const Vector<int64_t> targets = hwy::SupportedAndGeneratedTargets();
    return targets;
}

void useTargets(int64_t mask) {
    hwy::SetSupportedTargetsForTest(mask);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

} // namespace

Vector<std::string> simdTargets() {
    Vector<std::string> names;
    for (const int64_t target : availableTargets()) names.emplace_back(hwy::TargetName(target));
    return names;
}

bool setSimdTarget(std::string_view name) {
    const auto& targets = availableTargets();
    if (name.empty()) {
        useTargets(0);
        return true;
    }
    const auto named = [name](int64_t target) { return name == hwy::TargetName(target); };
    const auto found = std::find_if(targets.begin(), targets.end(), named);
    if (found == targets.end()) return false;
    useTargets(*found);
    return true;
}

} // namespace qel::internal
