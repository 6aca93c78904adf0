// Built like a kernel file, because the list of targets depends on how a file is built.
#include <qel/foundation/base/simd_targets.h>

#include <hwy/highway.h>

namespace qel::internal {

namespace {

void useTargets(int64_t targets) {
    hwy::SetSupportedTargetsForTest(targets);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

/// What the machine has, whatever the cap; a lower bit is a better target.
int64_t getMachineTargets() {
    static const int64_t targets = hwy::SupportedTargets() & HWY_TARGETS;
    return targets;
}

} // namespace

Vector<std::string> getSimdTargets() {
    Vector<std::string> names;
    for (int64_t left = getMachineTargets(); left != 0; left &= left - 1) {
        names.emplace_back(hwy::TargetName(left & -left));
    }
    return names;
}

bool capSimdTarget(std::string_view name) {
    const int64_t targets = getMachineTargets();
    if (name.empty()) {
        useTargets(0);
        return true;
    }
    for (int64_t left = targets; left != 0; left &= left - 1) {
        if (name != hwy::TargetName(left & -left)) continue;
        useTargets(left);
        return true;
    }
    return false;
}

} // namespace qel::internal
