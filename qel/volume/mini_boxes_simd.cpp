// The tests of a ray against all boxes of a group at once.
#include <qel/volume/mini_scene_p.h>

#include <bit>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/volume/mini_boxes_simd.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>
#include <qel/foundation/base/simd_dispatch_p.h>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Lanes = hn::CappedTag<float, BoxGroup::kCapacity>;
using Floats = hn::Vec<Lanes>;
constexpr size_t kLanes = hn::MaxLanes(Lanes());

/// A ray with each number in all lanes.
struct WideRay {
    HWY_INLINE explicit WideRay(const Ray& ray)
        : origin{hn::Set(Lanes(), ray.origin.x), hn::Set(Lanes(), ray.origin.y),
                 hn::Set(Lanes(), ray.origin.z)},
          reciprocal{hn::Set(Lanes(), ray.reciprocal.x), hn::Set(Lanes(), ray.reciprocal.y),
                     hn::Set(Lanes(), ray.reciprocal.z)} {}

    Floats origin[3];
    Floats reciprocal[3];
};

/// Returns where the ray enters each of the boxes from @p first on; @p to for boxes that it does not enter
/// before @p to.
HWY_INLINE Floats Enter(const BoxGroup& group, size_t first, const WideRay& ray, Floats to) {
    const Lanes d;
    Floats low = hn::Zero(d), high = to;
    for (size_t i = 0; i < 3; ++i) {
        const Floats a =
            hn::Mul(hn::Sub(hn::Load(d, &group.lower[i][first]), ray.origin[i]), ray.reciprocal[i]);
        const Floats b =
            hn::Mul(hn::Sub(hn::Load(d, &group.upper[i][first]), ray.origin[i]), ray.reciprocal[i]);
        low = hn::Max(low, hn::Min(a, b));
        high = hn::Min(high, hn::Max(a, b));
    }
    return hn::IfThenElse(hn::Lt(low, high), low, to);
}

/// Calls `use(first, entries)` for each vector of a group's boxes.
template <typename Use>
HWY_INLINE void ForBoxes(const BoxGroup& group, const WideRay& ray, Floats to, const Use& use) {
    for (size_t first = 0; first < BoxGroup::kCapacity; first += kLanes)
        use(first, Enter(group, first, ray, to));
}

/// Returns a bit for each lane in which @p entries is below @p to.
HWY_INLINE unsigned BitsBelow(Floats entries, Floats to) {
    uint8_t bytes[8] = {};
    hn::StoreMaskBits(Lanes(), hn::Lt(entries, to), bytes);
    return bytes[0] | static_cast<unsigned>(bytes[1]) << 8;
}

/// Finds the first of the closest boxes of a group in front of the ray's origin, before @p hit.distance.
HWY_INLINE void ClosestInGroup(const BoxGroup& group, const WideRay& ray, BoxHit& hit, size_t number) {
    const Lanes d;
    const Floats to = hn::Set(d, hit.distance);
    HWY_ALIGN float entries[BoxGroup::kCapacity];
    Floats least = to;
    ForBoxes(group, ray, to, [&](size_t first, Floats entry) HWY_ATTR {
        const Floats inFront = hn::IfThenElse(hn::Gt(entry, hn::Zero(d)), entry, to);
        hn::Store(inFront, d, entries + first);
        least = hn::Min(least, inFront);
    });
    const float distance = hn::GetLane(hn::MinOfLanes(d, least));
    if (!(distance < hit.distance)) return;
    hit = {distance, number, 0};
    while (entries[hit.box] != distance) ++hit.box;
}

HWY_INLINE unsigned GroupsHit(const BoxGroup& bounds, const WideRay& ray, float to) {
    const Floats limit = hn::Set(Lanes(), to);
    unsigned groups = 0;
    ForBoxes(bounds, ray, limit,
             [&](size_t first, Floats entry) HWY_ATTR { groups |= BitsBelow(entry, limit) << first; });
    return groups;
}

BoxHit ClosestBox(const BoxGroup* groups, const BoxGroup& bounds, const Ray& ray, float to) {
    const WideRay wide(ray);
    BoxHit hit{to, BoxHit::kNone, 0};
    for (unsigned left = GroupsHit(bounds, wide, to); left != 0; left &= left - 1) {
        const auto group = static_cast<size_t>(std::countr_zero(left));
        ClosestInGroup(groups[group], wide, hit, group);
    }
    return hit;
}

bool AnyBox(const BoxGroup* groups, const BoxGroup& bounds, const Ray& ray, float to) {
    const WideRay wide(ray);
    for (unsigned left = GroupsHit(bounds, wide, to); left != 0; left &= left - 1)
        if (GroupsHit(groups[std::countr_zero(left)], wide, to) != 0) return true;
    return false;
}

} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {

QEL_SIMD_TABLE(ClosestBox);
QEL_SIMD_TABLE(AnyBox);

BoxHit closestBox(const BoxGroup* groups, const BoxGroup& bounds, const Ray& ray, float to) {
    return g_ClosestBox(groups, bounds, ray, to);
}

bool isAnyBoxHit(const BoxGroup* groups, const BoxGroup& bounds, const Ray& ray, float to) {
    return g_AnyBox(groups, bounds, ray, to);
}

} // namespace qel::internal
#endif
