// Vector kernel: the colours of as many rays at once as a vector has lanes. Its results are those of
// plain_rays.cpp, bit for bit: the same operations on each ray, without those that cannot be seen.
#include <qel/software3d/occlusion_grid_p.h>
#include <qel/software3d/ray_paths_p.h>

#include <algorithm>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/software3d/vector_rays_simd.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>
#include <qel/foundation/base/simd_dispatch_p.h>
#include <qel/software3d/ray_block.inc>
#include <qel/software3d/ray_tables.inc>
#include <qel/software3d/ray_voxels.inc>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {

/// Steps that are computed at once, without waiting for the results of each other.
constexpr int kGroup = 4;

/// The segments of a group on each ray. Their colours are from 0 to 1; segments that a ray does not have
/// get an alpha of 0.
struct Segments {
    F red[kGroup], green[kGroup], blue[kGroup], alpha[kGroup];

    template <typename Color>
    HWY_INLINE void Set(int k, const Color& color) {
        red[k] = color.template Get<0>();
        green[k] = color.template Get<1>();
        blue[k] = color.template Get<2>();
        alpha[k] = color.template Get<kAlpha>();
    }
};

/// Neighbouring rays of a run, one in each lane of a vector.
class Rays {
public:
    HWY_INLINE Rays(const VolumeDraw& draw, const RayPaths& paths, size_t first)
        : m_draw(draw),
          m_lines{Load(paths.start, first), Load(paths.step, first), Zero()},
          m_length(hn::Load(Floats(), paths.segmentLength + first)),
          m_isInside(hn::MaskFromVec(hn::BitCast(Floats(), hn::Load(Words(), paths.isInside + first)))),
          m_voxels(draw),
          m_block(draw, m_lines, m_isInside),
          m_count(draw.steps) {
        const Place& step = m_lines.step;
        m_perStep = {hn::Div(All(1), step.x), hn::Div(All(1), step.y), hn::Div(All(1), step.z)};
        Align();
    }

    HWY_INLINE bool IsAnyInside() const { return IsAny(m_isInside); }

    void Maximum(Rgba* colors) {
        F most = Zero();
        for (int i = 0; i < m_count; ++i) {
            const F t = CoordinateAfter(static_cast<float>(i) + 0.5f);
            const M isUsed = hn::And(hn::Gt(t, Zero()), HasSegment(i));
            // The second operand results if one is not a number.
            most = hn::Max(most, hn::Min(hn::IfThenElseZero(isUsed, t), All(1)));
        }
        Store(most, most, most, All(1), colors);
    }

    template <bool kMeans>
    void Sum(Rgba* colors) {
        m_alpha = hn::IfThenElse(m_isInside, Zero(), All(2));
        m_red = m_green = m_blue = Zero();
        if constexpr (kMeans)
            SumOfMeans();
        else
            SumOfValues();
        const M isOpaque = IsEnded();
        const F whole = hn::IfThenElse(isOpaque, hn::Div(All(1), m_alpha), All(1));
        Store(hn::Mul(m_red, whole), hn::Mul(m_green, whole), hn::Mul(m_blue, whole),
              hn::IfThenElse(isOpaque, All(1), m_alpha), colors);
    }

private:
    static HWY_INLINE Place Load(const float (&numbers)[3][RayPaths::kMost], size_t first) {
        const Floats d;
        return {hn::Load(d, numbers[0] + first), hn::Load(d, numbers[1] + first),
                hn::Load(d, numbers[2] + first)};
    }

    HWY_INLINE Place At(float segments) const { return m_lines.At(segments); }

    /// Lets rays begin some steps later than others, so that their places are next to each other, as those of
    /// rays that enter the volume at the same depth are.
    HWY_INLINE void Align() {
        const Place& step = m_lines.step;
        const float middle = static_cast<float>(m_draw.steps) * 0.5f;
        const int mostLag = m_draw.steps / 8;
        const F x = All(Sum(step.x)), y = All(Sum(step.y)), z = All(Sum(step.z));
        const auto along = [&](const Place& p) {
            return hn::Add(hn::Add(hn::Mul(p.x, x), hn::Mul(p.y, y)), hn::Mul(p.z, z));
        };
        const F depth = along(At(middle));
        const F nearest = hn::MinOfLanes(Floats(), hn::IfThenElse(m_isInside, depth, All(kFar * kFar)));
        const F ahead = hn::Floor(hn::Add(hn::Div(hn::Sub(nearest, depth), along(step)), All(0.5f)));
        const F least = All(static_cast<float>(-mostLag));
        m_lines.shift = hn::IfThenElseZero(m_isInside, hn::Min(hn::Max(ahead, least), Zero()));
        if (!m_block.UseNear(middle)) m_lines.shift = Zero();
        m_lag = static_cast<int>(-hn::GetLane(hn::MinOfLanes(Floats(), m_lines.shift)));
        m_count += m_lag;
    }

    static HWY_INLINE float Sum(F values) { return hn::GetLane(hn::SumOfLanes(Floats(), values)); }

    /// Returns which rays have a segment of number @p i.
    HWY_INLINE M HasSegment(int i) const {
        const F segment = hn::Add(All(static_cast<float>(i)), m_lines.shift);
        return hn::And(hn::Ge(segment, Zero()), hn::Lt(segment, All(static_cast<float>(m_draw.steps))));
    }

    HWY_INLINE void Store(F red, F green, F blue, F alpha, Rgba* colors) const {
        static_assert(sizeof(Rgba) == 4 * sizeof(float));
        hn::StoreInterleaved4(hn::IfThenElseZero(m_isInside, red), hn::IfThenElseZero(m_isInside, green),
                              hn::IfThenElseZero(m_isInside, blue), hn::IfThenElseZero(m_isInside, alpha),
                              Floats(), reinterpret_cast<float*>(colors));
    }

    /// Returns the coordinates of the values at the places after some segments, of which there are never
    /// less than in the call before.
    HWY_INLINE F CoordinateAfter(float segments) {
        const Place place = At(segments);
        return m_voxels.CoordinateOf(m_block.Contain(segments) ? m_block.ValueAt(place)
                                                               : m_voxels.ValueAt(place));
    }

    HWY_INLINE M IsEnded() const { return hn::Ge(m_alpha, All(kOpaqueCoverage)); }

    /// Computes the coordinates at places that are one segment apart.
    HWY_INLINE void SampleGroup(float segments, F* coordinates) {
        for (int k = 0; k < kGroup; ++k) coordinates[k] = CoordinateAfter(segments + static_cast<float>(k));
    }

    HWY_INLINE void SumOfValues() {
        const Table colors(m_draw.colors->texels(false)), weights(m_draw.weights->texels(false));
        const auto weigh = [&](float middle) {
            return DiagonalColor(weights, m_voxels.GradientAt(At(middle))).template Get<kRed>();
        };
        int clear = 0;
        for (int i = 0; i<m_count; i += clear> 0 ? clear : kGroup) {
            clear = CanSkip() ? CountClear(i, 0.5f, m_count - 1) : 0;
            if (clear > 0) continue;
            F coordinates[kGroup];
            SampleGroup(static_cast<float>(i) + 0.5f, coordinates);
            Segments segments;
            for (int k = 0; k < kGroup; ++k) segments.Set(k, DiagonalColor(colors, coordinates[k]));
            if (!AddGroup(segments, i, 0.5f, weigh)) return;
        }
    }

    HWY_INLINE void SumOfMeans() {
        const Table colors(m_draw.colors->texels(true)), weights(m_draw.weights->texels(true));
        const auto weigh = [&](float begin) {
            const DiagonalColor before(weights, m_voxels.GradientAt(At(begin)));
            const DiagonalColor after(weights, m_voxels.GradientAt(At(begin + 1)));
            return MeanColor(weights, before, after).template Get<kRed>();
        };
        DiagonalColor before(colors, CoordinateAfter(0));
        int clear = 0;
        for (int i = 0; i<m_count; i += clear> 0 ? clear : kGroup) {
            // The segments between clear places.
            clear = CanSkip() ? std::max(CountClear(i, 0, m_count) - 1, 0) : 0;
            if (clear > 0) {
                before = DiagonalColor(colors, CoordinateAfter(static_cast<float>(i + clear)));
                continue;
            }
            F coordinates[kGroup];
            SampleGroup(static_cast<float>(i + 1), coordinates);
            Segments segments;
            for (int k = 0; k < kGroup; ++k) {
                const DiagonalColor after(colors, coordinates[k]);
                segments.Set(k, MeanColor(colors, before, after));
                before = after;
            }
            if (!AddGroup(segments, i, 0, weigh)) return;
        }
    }

    /// Returns true if the next steps may be clear: after a group of steps that are not, hardly any are.
    HWY_INLINE bool CanSkip() const { return !m_hasAdded && !m_draw.clearDistance.empty(); }

    /// Adds the segments from number @p i on after the others. @param weigh  returns the weights of a segment
    /// whose place is its number plus @p offset. @return false if nothing after them can be seen.
    template <typename Weigh>
    HWY_INLINE bool AddGroup(Segments& segments, int i, float offset, const Weigh& weigh) {
        if (i < m_lag || i + kGroup > m_draw.steps)
            for (int k = 0; k < kGroup; ++k)
                segments.alpha[k] = hn::IfThenElseZero(HasSegment(i + k), segments.alpha[k]);
        F most = segments.alpha[0];
        for (int k = 1; k < kGroup; ++k) most = hn::Max(most, segments.alpha[k]);
        m_hasAdded = IsAny(hn::Gt(most, Zero()));
        if (!m_hasAdded) return true;
        if (m_draw.usesGradient)
            for (int k = 0; k < kGroup; ++k)
                if (IsAny(hn::Gt(segments.alpha[k], Zero())))
                    segments.alpha[k] = hn::Mul(segments.alpha[k], weigh(static_cast<float>(i + k) + offset));
        for (F& alpha : segments.alpha) alpha = OpacityOver(alpha, m_length);
        for (int k = 0; k < kGroup; ++k) Add(segments, k, static_cast<float>(i + k) + 0.5f);
        return !hn::AllTrue(Floats(), IsEnded());
    }

    /// Adds a segment of known opacity after the others.
    HWY_INLINE void Add(const Segments& segments, int k, float middle) {
        const F opacity = hn::IfThenZeroElse(IsEnded(), segments.alpha[k]);
        const F share = hn::Mul(hn::Sub(All(1), m_alpha), opacity);
        F lit = share;
        if ((m_draw.usesLocalOcclusion || m_draw.occlusion) && IsAny(hn::Gt(share, Zero())))
            lit = hn::Mul(share, LightAt(At(middle), share));
        m_red = hn::Add(m_red, hn::Mul(segments.red[k], lit));
        m_green = hn::Add(m_green, hn::Mul(segments.green[k], lit));
        m_blue = hn::Add(m_blue, hn::Mul(segments.blue[k], lit));
        m_alpha = hn::Add(m_alpha, share);
    }

    /// Returns lightAt() where @p share is not 0.
    HWY_NOINLINE F LightAt(const Place& place, F share) const {
        const F local = m_draw.usesLocalOcclusion ? LocalLightAt(place) : All(1);
        if (!m_draw.occlusion) return local;
        HWY_ALIGN float x[kLanes], y[kLanes], z[kLanes], light[kLanes];
        hn::Store(place.x, Floats(), x);
        hn::Store(place.y, Floats(), y);
        hn::Store(place.z, Floats(), z);
        hn::Store(share, Floats(), light);
        for (size_t i = 0; i < kLanes; ++i)
            if (light[i] > 0) light[i] = m_draw.occlusion->lightAt({x[i], y[i], z[i]});
        return hn::Mul(local, hn::Load(Floats(), light));
    }

    HWY_INLINE F LocalLightAt(const Place& p) const {
        const Table table(m_draw.colors->texels(m_draw.usesMeans));
        const F far = All(kLocalDistance);
        F sum = OpacityAt(table, {hn::Sub(p.x, far), p.y, p.z});
        sum = hn::Add(sum, OpacityAt(table, {hn::Add(p.x, far), p.y, p.z}));
        sum = hn::Add(sum, OpacityAt(table, {p.x, hn::Sub(p.y, far), p.z}));
        sum = hn::Add(sum, OpacityAt(table, {p.x, hn::Add(p.y, far), p.z}));
        sum = hn::Add(sum, OpacityAt(table, {p.x, p.y, hn::Sub(p.z, far)}));
        sum = hn::Add(sum, OpacityAt(table, {p.x, p.y, hn::Add(p.z, far)}));
        return hn::Sub(All(1), hn::Mul(All(kLocalShare), hn::Mul(sum, All(1 / 6.0f))));
    }

    /// Returns the opacity that the table states for the value at a place. The mean of a value and itself is
    /// the value.
    HWY_INLINE F OpacityAt(const Table& table, const Place& place) const {
        return DiagonalColor(table, m_voxels.CoordinateOf(m_voxels.ValueAt(place))).template Get<kAlpha>();
    }

    /// The blocks of voxels that are known to be clear, around those of the rays' places: x, y and z from
    /// lower to before upper.
    struct ClearBox {
        Place lower, upper;
    };

    /// Returns how many of the places i + offset, i + 1 + offset, up to @p last + offset, are in transparent
    /// blocks, on all rays that nothing opaque has ended. Possibly counts too few.
    HWY_NOINLINE int CountClear(int i, float offset, int last) const {
        const Place place = At(static_cast<float>(i) + offset);
        const M isEnded = IsEnded();
        ClearBox box;
        if (!FindClearBox(place, isEnded, box)) return 0;
        F most = All(static_cast<float>(last - i));
        most = hn::Min(most, StepsToEdge(place.x, m_perStep.x, box.lower.x, box.upper.x));
        most = hn::Min(most, StepsToEdge(place.y, m_perStep.y, box.lower.y, box.upper.y));
        most = hn::Min(most, StepsToEdge(place.z, m_perStep.z, box.lower.z, box.upper.z));
        most = hn::IfThenElse(isEnded, All(static_cast<float>(last - i)), hn::Max(most, Zero()));
        int more = static_cast<int>(hn::GetLane(hn::MinOfLanes(Floats(), most)));
        // Rounding may put the last place outside.
        while (more > 0 && !IsInside(At(static_cast<float>(i + more) + offset), isEnded, box)) --more;
        return more + 1;
    }

    HWY_INLINE bool FindClearBox(const Place& place, M isEnded, ClearBox& box) const {
        const I x = hn::ShiftRight<3>(m_voxels.Voxel(place.x, 0).lower);
        const I y = hn::ShiftRight<3>(m_voxels.Voxel(place.y, 1).lower);
        const I z = hn::ShiftRight<3>(m_voxels.Voxel(place.z, 2).lower);
        const IVec3<int>& count = m_draw.texture->getBrickCount();
        const I row = hn::Add(hn::Mul(z, hn::Set(Numbers(), count.y)), y);
        HWY_ALIGN int32_t each[kLanes];
        hn::Store(hn::Add(hn::Mul(row, hn::Set(Numbers(), count.x)), x), Numbers(), each);
        for (int32_t& brick : each) brick = m_draw.clearDistance[static_cast<size_t>(brick)];
        const F distance = hn::IfThenElse(isEnded, All(1), ToFloats(hn::Load(Numbers(), each)));
        if (!hn::AllTrue(Floats(), hn::Gt(distance, Zero()))) return false;
        FindEdges(ToFloats(x), distance, count.x, box.lower.x, box.upper.x);
        FindEdges(ToFloats(y), distance, count.y, box.lower.y, box.upper.y);
        FindEdges(ToFloats(z), distance, count.z, box.lower.z, box.upper.z);
        return true;
    }

    /// Finds the edges on one axis of the blocks around @p brick that are less than @p distance away.
    HWY_INLINE void FindEdges(F brick, F distance, int count, F& lower, F& upper) const {
        const F side = All(SoftwareVolumeTexture::kBrick);
        const F first = hn::Sub(hn::Add(brick, All(1)), distance), end = hn::Add(brick, distance);
        lower = hn::IfThenElse(hn::Gt(first, Zero()), hn::Mul(first, side), All(-kFar));
        upper = hn::IfThenElse(hn::Lt(end, All(static_cast<float>(count))), hn::Mul(end, side), All(kFar));
    }

    HWY_INLINE F StepsToEdge(F place, F perStep, F lower, F upper) const {
        const F edge = hn::IfThenElse(hn::Gt(perStep, Zero()), upper, lower);
        const M isParallel = hn::Gt(hn::Abs(perStep), All(std::numeric_limits<float>::max()));
        return hn::IfThenElse(isParallel, All(kFar), hn::Mul(hn::Sub(edge, place), perStep));
    }

    HWY_INLINE bool IsInside(const Place& p, M isEnded, const ClearBox& box) const {
        const M x = hn::And(hn::Ge(p.x, box.lower.x), hn::Lt(p.x, box.upper.x));
        const M y = hn::And(hn::Ge(p.y, box.lower.y), hn::Lt(p.y, box.upper.y));
        const M z = hn::And(hn::Ge(p.z, box.lower.z), hn::Lt(p.z, box.upper.z));
        return hn::AllTrue(Floats(), hn::Or(isEnded, hn::And(hn::And(x, y), z)));
    }

    const VolumeDraw& m_draw;
    RayLines m_lines;
    const F m_length;
    const M m_isInside;
    const Voxels m_voxels;
    VoxelBlock m_block;
    Place m_perStep; ///< 1 / the step
    int m_lag = 0;   ///< steps by which the last ray begins after the first
    int m_count;     ///< steps of all rays
    F m_red, m_green, m_blue;
    F m_alpha;               ///< above 1 for rays that are outside
    bool m_hasAdded = false; ///< by the last group
};

void CastRays(const VolumeDraw& draw, const RayPaths& paths, Rgba* colors) {
    for (size_t first = 0; first < RayPaths::kMost; first += kLanes) {
        Rays rays(draw, paths, first);
        if (!rays.IsAnyInside())
            std::fill_n(colors + first, kLanes, Rgba());
        else if (!draw.isClassified)
            rays.Maximum(colors + first);
        else if (draw.usesMeans)
            rays.Sum<true>(colors + first);
        else
            rays.Sum<false>(colors + first);
    }
}

} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {

QEL_SIMD_TABLE(CastRays);

void castVectorRays(const VolumeDraw& draw, const PixelGrid& pixels, Rgba* colors, std::ptrdiff_t pitch) {
    RayPaths paths;
    Rgba all[RayPaths::kMost];
    if (findPaths(draw, pixels, paths)) g_CastRays(draw, paths, all);
    for (int row = 0; row < pixels.rows; ++row)
        std::copy_n(all + std::ptrdiff_t{row} * pixels.lanesPerRow(), pixels.columns, colors + row * pitch);
}

} // namespace qel::internal
#endif
