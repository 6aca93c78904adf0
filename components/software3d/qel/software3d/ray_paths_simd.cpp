// Vector kernel: where rays enter and leave a volume. Its results are those of plain_rays.cpp.
#include <qel/software3d/ray_paths_p.h>

#include <algorithm>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/software3d/ray_paths_simd.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>
#include <qel/foundation/base/simd_dispatch_p.h>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Doubles = hn::CappedTag<double, RayPaths::kMost>;
using Floats = hn::Rebind<float, Doubles>;
using V = hn::Vec<Doubles>;

struct Triple {
    V x, y, z;
};

/// The parts of rays that remain, from begin to end in units of their direction.
struct Interval {
    V begin, end;
    hn::Mask<Doubles> isInside;
};

HWY_INLINE V All(double value) {
    return hn::Set(Doubles(), value);
}

/// Returns a column of a row vector times a matrix.
HWY_INLINE V Column(const Double4x4& m, int c, V x, V y, V z, V w) {
    V sum = hn::Add(hn::Zero(Doubles()), hn::Mul(x, All(m[0][c])));
    sum = hn::Add(sum, hn::Mul(y, All(m[1][c])));
    sum = hn::Add(sum, hn::Mul(z, All(m[2][c])));
    return hn::Add(sum, hn::Mul(w, All(m[3][c])));
}

/// Returns the point of each ray at a normalised depth. @param w  out: the divisor of perspective.
HWY_INLINE Triple Unproject(const Double4x4& fromNdc, V x, V y, V depth, V& w) {
    const V one = All(1);
    w = Column(fromNdc, 3, x, y, depth, one);
    return {hn::Div(Column(fromNdc, 0, x, y, depth, one), w),
            hn::Div(Column(fromNdc, 1, x, y, depth, one), w),
            hn::Div(Column(fromNdc, 2, x, y, depth, one), w)};
}

/// Keeps the parts where a linear function is not negative.
HWY_INLINE void Cut(Interval& part, V atBegin, V slope) {
    const V zero = hn::Zero(Doubles());
    const V root = hn::Div(hn::Neg(atBegin), slope);
    const auto isRising = hn::Gt(slope, zero), isFalling = hn::Lt(slope, zero);
    part.begin = hn::IfThenElse(hn::And(isRising, hn::Lt(part.begin, root)), root, part.begin);
    part.end = hn::IfThenElse(hn::And(isFalling, hn::Lt(root, part.end)), root, part.end);
    const auto isKept = hn::Or(hn::Or(isRising, isFalling), hn::Ge(atBegin, zero));
    part.isInside = hn::And(part.isInside, isKept);
}

HWY_INLINE void CutByBoxAndPlanes(const VolumeDraw& draw, const Triple& origin, const Triple& direction,
                                  Interval& part) {
    const V* const from[3] = {&origin.x, &origin.y, &origin.z};
    const V* const along[3] = {&direction.x, &direction.y, &direction.z};
    for (int axis = 0; axis < 3; ++axis) {
        Cut(part, hn::Sub(*from[axis], All(draw.lower[axis])), *along[axis]);
        Cut(part, hn::Sub(All(draw.upper[axis]), *from[axis]), hn::Neg(*along[axis]));
    }
    for (const IVec4<double>& p : draw.planes) {
        const V x = All(p.x), y = All(p.y), z = All(p.z);
        const V atBegin = hn::Add(
            hn::Add(hn::Add(hn::Mul(x, origin.x), hn::Mul(y, origin.y)), hn::Mul(z, origin.z)), All(p.w));
        const V slope =
            hn::Add(hn::Add(hn::Mul(x, direction.x), hn::Mul(y, direction.y)), hn::Mul(z, direction.z));
        Cut(part, atBegin, slope);
    }
    part.isInside = hn::And(part.isInside, hn::Lt(part.begin, part.end));
}

/// Returns the length in the world of a direction in the volume.
HWY_INLINE V LengthInWorld(const Double4x4& model, const Triple& d) {
    const V zero = hn::Zero(Doubles());
    const V x = Column(model, 0, d.x, d.y, d.z, zero), y = Column(model, 1, d.x, d.y, d.z, zero),
            z = Column(model, 2, d.x, d.y, d.z, zero);
    return hn::Sqrt(hn::Add(hn::Add(hn::Mul(x, x), hn::Mul(y, y)), hn::Mul(z, z)));
}

/// Stores numbers as floats. @return which of them are finite.
HWY_INLINE hn::Mask<Doubles> StoreFloats(V values, float* out) {
    const Floats floats;
    const auto rounded = hn::DemoteTo(floats, values);
    hn::StoreU(rounded, floats, out);
    return hn::Le(hn::Abs(hn::PromoteTo(Doubles(), rounded)), All(std::numeric_limits<float>::max()));
}

/// The pixels of the rays. The rays of lanes without a pixel end where they begin.
struct Pixels {
    alignas(64) double x[RayPaths::kMost] = {};
    alignas(64) double y[RayPaths::kMost] = {};
    alignas(64) double depth[RayPaths::kMost];

    explicit Pixels(const PixelGrid& grid) {
        std::fill_n(depth, RayPaths::kMost, -1.0);
        for (int row = 0; row < grid.rows; ++row) {
            for (int column = 0; column < grid.columns; ++column) {
                const int i = row * grid.lanesPerRow() + column;
                x[i] = grid.x + column * grid.step;
                y[i] = grid.y + row * grid.step;
                depth[i] = grid.depthAt(column, row);
            }
        }
    }
};

/// Finds the paths of as many rays as a vector has lanes, and stores them from lane @p first on.
/// @return bits of the rays that are inside.
HWY_INLINE uint32_t FindSome(const VolumeDraw& draw, const Pixels& pixels, int first, RayPaths& paths) {
    const Doubles d;
    const IVec4<int>& port = draw.view.viewport;
    const V x = hn::Load(d, pixels.x + first), y = hn::Load(d, pixels.y + first),
            depth = hn::Load(d, pixels.depth + first);
    const V fromLeft = hn::Sub(hn::Add(x, All(0.5)), All(port.x));
    const V ndcX = hn::Sub(hn::Div(hn::Mul(All(2), fromLeft), All(double{1} * port.z - port.x)), All(1));
    const V fromTop = hn::Sub(hn::Add(y, All(0.5)), All(port.y));
    const V ndcY = hn::Sub(All(1), hn::Div(hn::Mul(All(2), fromTop), All(double{1} * port.w - port.y)));

    V nearW, farW;
    const Triple origin = Unproject(draw.fromNdc, ndcX, ndcY, All(-1), nearW);
    const Triple far = Unproject(draw.fromNdc, ndcX, ndcY, All(1), farW);
    const Triple direction{hn::Sub(far.x, origin.x), hn::Sub(far.y, origin.y), hn::Sub(far.z, origin.z)};
    const V share = hn::Div(hn::Add(depth, All(1)), All(2));
    const V scaled = hn::Mul(share, farW);
    Interval part{hn::Zero(d), hn::Div(scaled, hn::Add(hn::Mul(hn::Sub(All(1), share), nearW), scaled)),
                  hn::Gt(hn::Mul(nearW, farW), hn::Zero(d))};
    CutByBoxAndPlanes(draw, origin, direction, part);

    const V segment = hn::Div(hn::Sub(part.end, part.begin), All(draw.steps));
    const V length = hn::Div(hn::Mul(LengthInWorld(draw.model, direction), segment), All(draw.unitLength));
    auto isInside = hn::And(part.isInside, StoreFloats(length, paths.segmentLength + first));
    const V* const from[3] = {&origin.x, &origin.y, &origin.z};
    const V* const along[3] = {&direction.x, &direction.y, &direction.z};
    for (int axis = 0; axis < 3; ++axis) {
        const V voxels = All(draw.size[axis]);
        const V at = hn::Add(*from[axis], hn::Mul(part.begin, *along[axis]));
        const V start = hn::Sub(hn::Mul(at, voxels), All(0.5));
        const V step = hn::Mul(hn::Mul(segment, *along[axis]), voxels);
        isInside = hn::And(isInside, StoreFloats(start, paths.start[axis] + first));
        isInside = hn::And(isInside, StoreFloats(step, paths.step[axis] + first));
    }
    uint8_t bits[8] = {};
    hn::StoreMaskBits(d, isInside, bits);
    return bits[0];
}

uint32_t FindPaths(const VolumeDraw& draw, const PixelGrid& grid, RayPaths& paths) {
    constexpr int kLanes = static_cast<int>(hn::MaxLanes(Doubles()));
    const Pixels pixels(grid);
    uint32_t inside = 0;
    for (int first = 0; first < RayPaths::kMost; first += kLanes)
        inside |= FindSome(draw, pixels, first, paths) << first;
    return inside;
}

} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {

QEL_SIMD_TABLE(FindPaths);

bool findPaths(const VolumeDraw& draw, const PixelGrid& pixels, RayPaths& paths) {
    const uint32 inside = g_FindPaths(draw, pixels, paths);
    for (int i = 0; i < RayPaths::kMost; ++i) {
        const bool isInside = (inside >> i & 1) != 0;
        paths.isInside[i] = isInside ? ~uint32{0} : 0;
        if (isInside) continue;
        paths.segmentLength[i] = 0;
        for (int axis = 0; axis < 3; ++axis) paths.start[axis][i] = paths.step[axis][i] = 0;
    }
    return inside != 0;
}

} // namespace qel::internal
#endif
