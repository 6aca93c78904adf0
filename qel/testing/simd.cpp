#include <qel/testing/simd.h>

#include <qel/foundation/base/simd_target_p.h>

namespace qel::seams {

std::vector<std::string> simdTargets() {
    const Vector<std::string> targets = internal::simdTargets();
    return {targets.begin(), targets.end()};
}

bool setSimdTarget(std::string_view name) {
    return internal::setSimdTarget(name);
}

} // namespace qel::seams
