// Vector kernel: the colours of as many rays at once as a vector has lanes. Its results are those of
// plain_rays.cpp, bit for bit: the same operations on each ray, without those that cannot be seen.
#include <qel/software3d/occlusion_grid_p.h>
#include <qel/software3d/ray_paths_p.h>

#include <algorithm>
#include <cstring>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/software3d/vector_rays_simd.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>
#include <qel/foundation/base/simd_dispatch_p.h>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::CappedTag<float, RayPaths::kMost>;
using Numbers = hn::RebindToSigned<Floats>;
using Words = hn::RebindToUnsigned<Floats>;
using Halves = hn::Repartition<uint64_t, Words>;
using F = hn::Vec<Floats>;
using I = hn::Vec<Numbers>;
using W = hn::Vec<Words>;
using M = hn::Mask<Floats>;
constexpr size_t kLanes = hn::MaxLanes(Floats());

/// Steps that are taken before the next attempt to skip, after one that failed.
constexpr int kStepsBetweenSkips = 4;
/// Further than any place.
constexpr float kFar = 1e9f;

HWY_INLINE F All(float value) {
    return hn::Set(Floats(), value);
}
HWY_INLINE F Zero() {
    return hn::Zero(Floats());
}
HWY_INLINE F ToFloats(I numbers) {
    return hn::ConvertTo(Floats(), numbers);
}
HWY_INLINE F ToFloats(W numbers) {
    return ToFloats(hn::BitCast(Numbers(), numbers));
}
HWY_INLINE F Clamp(F value, float most) {
    return hn::Min(hn::Max(value, Zero()), All(most));
}
/// Returns a + (b - a) * part.
HWY_INLINE F Mix(F a, F b, F part) {
    return hn::Add(a, hn::Mul(hn::Sub(b, a), part));
}
HWY_INLINE bool IsAny(M mask) {
    return !hn::AllFalse(Floats(), mask);
}

// --- Reading memory ----------------------------------------------------------------------------------------

/// Loads a number of the type of @p D from each of some places. @param offsets  in units of @p kUnit bytes.
template <size_t kUnit, class D>
HWY_INLINE hn::Vec<D> LoadEach(D d, const uint8_t* base, const uint32_t* offsets) {
    using T = hn::TFromD<D>;
    if constexpr (sizeof(T) * hn::MaxLanes(d) <= 16) {
        T values[16 / sizeof(T)];
        for (size_t i = 0; i < hn::MaxLanes(d); ++i)
            std::memcpy(values + i, base + kUnit * size_t{offsets[i]}, sizeof(T));
        auto result = hn::Set(d, values[0]);
        result = hn::InsertLane(result, 1, values[1]);
        if constexpr (sizeof(T) == 4) {
            result = hn::InsertLane(result, 2, values[2]);
            result = hn::InsertLane(result, 3, values[3]);
        }
        return result;
    } else {
        const hn::Half<D> half;
        return hn::Combine(d, LoadEach<kUnit>(half, base, offsets + hn::MaxLanes(half)),
                           LoadEach<kUnit>(half, base, offsets));
    }
}

/// Two neighbouring texels for each ray.
struct Texels {
    W first, second;
};

/// @param offsets  of the first texels, in bytes.
HWY_INLINE Texels LoadTexels(const uint8_t* base, W offsets) {
    HWY_ALIGN uint32_t each[kLanes];
    hn::Store(offsets, Words(), each);
    const W low = hn::BitCast(Words(), LoadEach<1>(Halves(), base, each));
    const W high = hn::BitCast(Words(), LoadEach<1>(Halves(), base, each + kLanes / 2));
    return {hn::ConcatEven(Words(), high, low), hn::ConcatOdd(Words(), high, low)};
}

// --- Voxels ------------------------------------------------------------------------------------------------

struct Place {
    F x, y, z;
};

/// A place between two numbers.
struct Between {
    I lower;
    F part;
};

HWY_INLINE Between PlaceBetween(F at, int lastLower) {
    const I lower = hn::Min(hn::ConvertTo(Numbers(), at), hn::Set(Numbers(), lastLower));
    return {lower, hn::Sub(at, ToFloats(lower))};
}

/// The voxels of a volume.
class Voxels {
public:
    explicit HWY_INLINE Voxels(const VolumeDraw& draw) : m_draw(draw) {
        const size_t width = static_cast<size_t>(draw.size.x),
                     slice = width * static_cast<size_t>(draw.size.y);
        m_nextY = draw.size.y > 1 ? width * sizeof(uint16_t) : 0;
        m_nextZ = draw.size.z > 1 ? slice * sizeof(uint16_t) : 0;
        m_base = reinterpret_cast<const uint8_t*>(draw.texture->getVoxels());
    }

    HWY_INLINE Between Voxel(F at, int axis) const {
        if (!m_draw.isLinear) at = hn::Floor(hn::Add(at, All(0.5f)));
        return PlaceBetween(Clamp(at, m_draw.last[axis]), m_draw.lastLower(axis));
    }

    HWY_INLINE F ValueAt(const Place& place) const {
        const Between x = Voxel(place.x, 0), y = Voxel(place.y, 1), z = Voxel(place.z, 2);
        const I row = hn::Add(hn::Mul(z.lower, hn::Set(Numbers(), m_draw.size.y)), y.lower);
        const I index = hn::Add(hn::Mul(row, hn::Set(Numbers(), m_draw.size.x)), x.lower);
        HWY_ALIGN uint32_t each[kLanes];
        hn::Store(hn::BitCast(Words(), index), Words(), each);
        const F front = Mix(Row(each, 0, x.part), Row(each, m_nextY, x.part), y.part);
        const F back = Mix(Row(each, m_nextZ, x.part), Row(each, m_nextZ + m_nextY, x.part), y.part);
        return Mix(front, back, z.part);
    }

    /// Returns the coordinate of the value at a place.
    HWY_INLINE F CoordinateAt(const Place& place) const {
        return hn::Add(hn::Mul(ValueAt(place), All(m_draw.scale)), All(m_draw.bias));
    }

    /// Returns the coordinate of the gradient's magnitude. Not inlined: it would be most of the kernel.
    HWY_NOINLINE F GradientAt(const Place& place) const {
        F difference[3] = {Zero(), Zero(), Zero()};
        if (m_draw.isSobel)
            AddSobel(place, difference);
        else
            AddCentral(place, difference);
        F square = Zero();
        for (int axis = 0; axis < 3; ++axis) {
            const F part = hn::Mul(difference[axis], All(m_draw.gradientScale[axis]));
            square = hn::Add(square, hn::Mul(part, part));
        }
        return hn::Add(hn::Mul(hn::Sqrt(square), All(m_draw.gradientFactor)), All(m_draw.gradientBias));
    }

private:
    /// Returns the values on the rows of x, @p offset bytes after the places of the lowest corners.
    HWY_INLINE F Row(const uint32_t* each, size_t offset, F part) const {
        // Two voxels are one word. Beyond the end of a row of one voxel the part is 0.
        const W pair = LoadEach<sizeof(uint16_t)>(Words(), m_base + offset, each);
        const I low = hn::BitCast(Numbers(), hn::And(pair, hn::Set(Words(), 0xFFFFu)));
        const I high = hn::BitCast(Numbers(), hn::ShiftRight<16>(pair));
        return hn::Add(ToFloats(low), hn::Mul(ToFloats(hn::Sub(high, low)), part));
    }

    HWY_INLINE void AddCentral(const Place& p, F* difference) const {
        const F one = All(1);
        difference[0] =
            hn::Sub(ValueAt({hn::Add(p.x, one), p.y, p.z}), ValueAt({hn::Sub(p.x, one), p.y, p.z}));
        difference[1] =
            hn::Sub(ValueAt({p.x, hn::Add(p.y, one), p.z}), ValueAt({p.x, hn::Sub(p.y, one), p.z}));
        difference[2] =
            hn::Sub(ValueAt({p.x, p.y, hn::Add(p.z, one)}), ValueAt({p.x, p.y, hn::Sub(p.z, one)}));
    }

    HWY_INLINE void AddSobel(const Place& p, F* difference) const {
        for (int i = 0; i < 27; ++i) {
            const int x = i % 3 - 1, y = i / 3 % 3 - 1, z = i / 9 - 1;
            const F value =
                ValueAt({hn::Add(p.x, All(static_cast<float>(x))), hn::Add(p.y, All(static_cast<float>(y))),
                         hn::Add(p.z, All(static_cast<float>(z)))});
            for (int axis = 0; axis < 3; ++axis)
                difference[axis] = hn::Add(difference[axis], hn::Mul(value, All(sobelWeight(i, axis))));
        }
    }

    const VolumeDraw& m_draw;
    const uint8_t* m_base;
    size_t m_nextY; ///< bytes from a voxel to the next on the axis; 0 if there is no other
    size_t m_nextZ;
};

// --- Tables ------------------------------------------------------------------------------------------------

/// Channels are numbered R, G, B, A.
constexpr int kRed = 0, kAlpha = 3;

/// Returns a channel, 0 to 255, between pairs of texels.
template <int kChannel>
HWY_INLINE F ChannelOf(const Texels& texels, F part) {
    const W mask = hn::Set(Words(), 255u);
    const I low = hn::BitCast(Numbers(), hn::And(hn::ShiftRight<8 * kChannel>(texels.first), mask));
    const I high = hn::BitCast(Numbers(), hn::And(hn::ShiftRight<8 * kChannel>(texels.second), mask));
    return hn::Add(ToFloats(low), hn::Mul(ToFloats(hn::Sub(high, low)), part));
}

/// A texture of a table.
class Table {
public:
    explicit HWY_INLINE Table(const TransferTexels& texels)
        : m_texels(texels), m_diagonal(reinterpret_cast<const uint8_t*>(texels.diagonal.data())) {
        if (texels.size < 2) return;
        m_square = texels.image->getBytePointer(0);
        m_rowBytes = static_cast<int>(texels.image->getBytePointer(1) - m_square);
    }

    /// Returns where coordinates lie, in texels.
    HWY_INLINE F PlaceOf(F t) const {
        const auto isFinite = hn::Le(hn::Abs(t), All(std::numeric_limits<float>::max()));
        const auto count = static_cast<float>(m_texels.size);
        const F texels = hn::Mul(hn::IfThenElse(isFinite, t, All(0.5f)), All(count));
        const F at = m_texels.isLinear ? hn::Sub(texels, All(0.5f)) : hn::Floor(texels);
        return Clamp(at, count - 1);
    }
    HWY_INLINE Between TexelAt(F place) const { return PlaceBetween(place, m_texels.lastLower()); }

    HWY_INLINE Texels OnDiagonal(const Between& place) const {
        return LoadTexels(m_diagonal, hn::BitCast(Words(), hn::ShiftLeft<2>(place.lower)));
    }
    /// @param skippedRows  0 for the lower row, 1 for the one after it.
    HWY_INLINE Texels InSquare(const Between& row, const Between& column, int skippedRows) const {
        const I offset =
            hn::Add(hn::Mul(row.lower, hn::Set(Numbers(), m_rowBytes)), hn::ShiftLeft<2>(column.lower));
        return LoadTexels(m_square + ptrdiff_t{skippedRows} * m_rowBytes, hn::BitCast(Words(), offset));
    }

private:
    const TransferTexels& m_texels;
    const uint8_t* m_diagonal;
    const uint8_t* m_square = nullptr;
    int m_rowBytes = 0;
};

/// The colours at one place of a line.
class LineColor {
public:
    HWY_INLINE LineColor(const Table& table, F t) {
        const Between place = table.TexelAt(table.PlaceOf(t));
        m_part = place.part;
        m_texels = table.OnDiagonal(place);
    }
    template <int kChannel>
    HWY_INLINE F Get() const {
        return hn::Mul(ChannelOf<kChannel>(m_texels, m_part), All(kColorUnit));
    }

private:
    F m_part;
    Texels m_texels;
};

/// A place on the diagonal of a square.
struct DiagonalColor {
    HWY_INLINE DiagonalColor(const Table& table, F t) : place(table.PlaceOf(t)), texel(table.TexelAt(place)) {
        texels = table.OnDiagonal(texel);
    }

    F place;
    Between texel;
    Texels texels;
};

/// The mean colours between two places.
class MeanColor {
public:
    HWY_INLINE MeanColor(const Table& table, const DiagonalColor& before, const DiagonalColor& after)
        : m_before(before), m_after(after) {
        const F distance = hn::Sub(after.place, before.place);
        m_isFar = hn::Ge(hn::Abs(distance), All(1));
        m_isAnyFar = IsAny(m_isFar);
        if (!m_isAnyFar) return;
        m_share = hn::Div(All(0.5f), distance);
        const Between row = table.TexelAt(hn::Min(before.place, after.place));
        const Between column = table.TexelAt(hn::Max(before.place, after.place));
        m_rowPart = row.part;
        m_columnPart = column.part;
        m_upper = table.InSquare(row, column, 0);
        m_lower = table.InSquare(row, column, 1);
    }
    template <int kChannel>
    HWY_INLINE F Get() const {
        const F first = ChannelOf<kChannel>(m_before.texels, m_before.texel.part);
        const F last = ChannelOf<kChannel>(m_after.texels, m_after.texel.part);
        const F near = hn::Mul(hn::Add(first, last), All(0.5f * kColorUnit));
        if (!m_isAnyFar) return near;
        const F biased = Mix(ChannelOf<kChannel>(m_upper, m_columnPart),
                             ChannelOf<kChannel>(m_lower, m_columnPart), m_rowPart);
        const F mean = hn::Mul(hn::Add(biased, hn::Mul(hn::Sub(first, last), m_share)), All(kColorUnit));
        return hn::IfThenElse(m_isFar, Clamp(mean, 1), near);
    }

private:
    const DiagonalColor& m_before;
    const DiagonalColor& m_after;
    M m_isFar;
    bool m_isAnyFar;
    F m_share, m_rowPart, m_columnPart;
    Texels m_upper, m_lower;
};

// --- Opacity -----------------------------------------------------------------------------------------------

/// log2OneMinus() for opacities from 0 to below 1.
HWY_INLINE F Log2OneMinus(F a) {
    const W bits = hn::BitCast(Words(), hn::Sub(All(1), a));
    const I exponent =
        hn::ShiftRight<23>(hn::BitCast(Numbers(), hn::Sub(bits, hn::Set(Words(), kRootHalfBits))));
    const F x = hn::BitCast(Floats(), hn::Sub(bits, hn::BitCast(Words(), hn::ShiftLeft<23>(exponent))));
    const F power = ToFloats(exponent);
    const F t = hn::IfThenElse(hn::Eq(power, Zero()), hn::Neg(a), hn::Sub(x, All(1)));
    const F s = hn::Div(t, hn::Add(All(2), t));
    const F q = hn::Mul(s, s);
    F series = hn::Add(All(kLogSeries[1]), hn::Mul(q, All(kLogSeries[2])));
    series = hn::Add(All(kLogSeries[0]), hn::Mul(q, series));
    return hn::Add(hn::Mul(s, series), power);
}

/// oneMinusExp2().
HWY_INLINE F OneMinusExp2(F y) {
    y = hn::Max(y, All(kLeastExponent));
    const F n = hn::Floor(hn::Add(y, All(0.5f)));
    const F r = hn::Sub(y, n);
    F e = All(kExpSeries[4]);
    for (int i = 3; i >= 0; --i) e = hn::Add(All(kExpSeries[i]), hn::Mul(r, e));
    e = hn::Mul(r, e);
    const I exponent = hn::Add(hn::ConvertTo(Numbers(), n), hn::Set(Numbers(), 127));
    const F power = hn::BitCast(Floats(), hn::ShiftLeft<23>(exponent));
    const F rest = hn::Sub(All(1), hn::Mul(hn::Add(e, All(1)), power));
    return hn::IfThenElse(hn::Eq(n, Zero()), hn::Neg(e), rest);
}

/// opacityOver().
HWY_INLINE F OpacityOver(F opacity, F length) {
    const F covered = OneMinusExp2(hn::Mul(length, Log2OneMinus(opacity)));
    const F partly = hn::IfThenElse(hn::Ge(opacity, All(1)), All(1), covered);
    return hn::IfThenElseZero(hn::Gt(opacity, Zero()), partly);
}

// --- Rays --------------------------------------------------------------------------------------------------

/// Neighbouring rays of a run, one in each lane of a vector.
class Rays {
public:
    HWY_INLINE Rays(const VolumeDraw& draw, const RayPaths& paths, size_t first)
        : m_draw(draw), m_voxels(draw) {
        const Floats d;
        m_start = {hn::Load(d, paths.start[0] + first), hn::Load(d, paths.start[1] + first),
                   hn::Load(d, paths.start[2] + first)};
        m_step = {hn::Load(d, paths.step[0] + first), hn::Load(d, paths.step[1] + first),
                  hn::Load(d, paths.step[2] + first)};
        m_length = hn::Load(d, paths.segmentLength + first);
        m_isInside = hn::MaskFromVec(hn::BitCast(d, hn::Load(Words(), paths.isInside + first)));
    }

    HWY_INLINE bool IsAnyInside() const { return IsAny(m_isInside); }

    void Maximum(Rgba* colors) const {
        F most = Zero();
        for (int i = 0; i < m_draw.steps; ++i) {
            const F t = m_voxels.CoordinateAt(At(static_cast<float>(i) + 0.5f));
            // The second operand results if one is not a number.
            most = hn::Max(most, hn::Min(hn::IfThenElseZero(hn::Gt(t, Zero()), t), All(1)));
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
        const M isOpaque = hn::Ge(m_alpha, All(kOpaqueCoverage));
        const F whole = hn::IfThenElse(isOpaque, hn::Div(All(1), m_alpha), All(1));
        Store(hn::Mul(m_red, whole), hn::Mul(m_green, whole), hn::Mul(m_blue, whole),
              hn::IfThenElse(isOpaque, All(1), m_alpha), colors);
    }

private:
    HWY_INLINE Place At(float segments) const {
        const F s = All(segments);
        return {hn::Add(m_start.x, hn::Mul(s, m_step.x)), hn::Add(m_start.y, hn::Mul(s, m_step.y)),
                hn::Add(m_start.z, hn::Mul(s, m_step.z))};
    }

    HWY_INLINE void Store(F red, F green, F blue, F alpha, Rgba* colors) const {
        static_assert(sizeof(Rgba) == 4 * sizeof(float));
        hn::StoreInterleaved4(hn::IfThenElseZero(m_isInside, red), hn::IfThenElseZero(m_isInside, green),
                              hn::IfThenElseZero(m_isInside, blue), hn::IfThenElseZero(m_isInside, alpha),
                              Floats(), reinterpret_cast<float*>(colors));
    }

    HWY_INLINE void SumOfValues() {
        const Table colors(m_draw.colors->texels(false)), weights(m_draw.weights->texels(false));
        int nextSkip = m_draw.clearDistance.empty() ? m_draw.steps : 0;
        for (int i = 0; i < m_draw.steps;) {
            const int clear = i < nextSkip ? 0 : CountClear(i, 0.5f, m_draw.steps - 1);
            if (i >= nextSkip && clear == 0) nextSkip = i + kStepsBetweenSkips;
            if (clear == 0 && !AddValue(colors, weights, static_cast<float>(i) + 0.5f)) break;
            i += std::max(clear, 1);
        }
    }

    HWY_INLINE bool AddValue(const Table& colors, const Table& weights, float middle) {
        const Place place = At(middle);
        const LineColor color(colors, m_voxels.CoordinateAt(place));
        F alpha = color.template Get<kAlpha>();
        if (!IsAny(hn::Gt(alpha, Zero()))) return true;
        if (m_draw.usesGradient)
            alpha = hn::Mul(alpha, LineColor(weights, m_voxels.GradientAt(place)).template Get<kRed>());
        return Add(color, alpha, middle);
    }

    HWY_INLINE void SumOfMeans() {
        const Table colors(m_draw.colors->texels(true)), weights(m_draw.weights->texels(true));
        int nextSkip = m_draw.clearDistance.empty() ? m_draw.steps : 0;
        DiagonalColor before(colors, m_voxels.CoordinateAt(At(0)));
        for (int i = 0; i < m_draw.steps;) {
            // The segments between clear places.
            const int clear = i < nextSkip ? 0 : std::max(CountClear(i, 0, m_draw.steps) - 1, 0);
            if (i >= nextSkip && clear == 0) nextSkip = i + kStepsBetweenSkips;
            i += std::max(clear, 1);
            const DiagonalColor after(colors, m_voxels.CoordinateAt(At(static_cast<float>(i))));
            if (clear == 0 && !AddMean(colors, weights, before, after, static_cast<float>(i - 1))) break;
            before = after;
        }
    }

    HWY_INLINE bool AddMean(const Table& colors, const Table& weights, const DiagonalColor& before,
                            const DiagonalColor& after, float begin) {
        const MeanColor color(colors, before, after);
        F alpha = color.template Get<kAlpha>();
        if (!IsAny(hn::Gt(alpha, Zero()))) return true;
        if (m_draw.usesGradient) alpha = hn::Mul(alpha, MeanWeight(weights, begin));
        return Add(color, alpha, begin + 0.5f);
    }

    HWY_INLINE F MeanWeight(const Table& weights, float begin) const {
        const DiagonalColor before(weights, m_voxels.GradientAt(At(begin)));
        const DiagonalColor after(weights, m_voxels.GradientAt(At(begin + 1)));
        return MeanColor(weights, before, after).template Get<kRed>();
    }

    /// Adds segments after the others. @return false if nothing after them can be seen.
    template <typename Color>
    HWY_INLINE bool Add(const Color& color, F alpha, float middle) {
        const M isOpen = hn::Lt(m_alpha, All(kOpaqueCoverage));
        const F opacity = hn::IfThenElseZero(isOpen, OpacityOver(alpha, m_length));
        const F share = hn::Mul(hn::Sub(All(1), m_alpha), opacity);
        F lit = share;
        if (m_draw.usesLocalOcclusion || m_draw.occlusion) lit = hn::Mul(share, LightAt(At(middle), share));
        m_red = hn::Add(m_red, hn::Mul(color.template Get<0>(), lit));
        m_green = hn::Add(m_green, hn::Mul(color.template Get<1>(), lit));
        m_blue = hn::Add(m_blue, hn::Mul(color.template Get<2>(), lit));
        m_alpha = hn::Add(m_alpha, share);
        return IsAny(hn::Lt(m_alpha, All(kOpaqueCoverage)));
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
        return LineColor(table, m_voxels.CoordinateAt(place)).template Get<kAlpha>();
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
        const M isEnded = hn::Ge(m_alpha, All(kOpaqueCoverage));
        ClearBox box;
        if (!FindClearBox(place, isEnded, box)) return 0;
        F most = All(static_cast<float>(last - i));
        most = hn::Min(most, StepsToEdge(place.x, m_step.x, box.lower.x, box.upper.x));
        most = hn::Min(most, StepsToEdge(place.y, m_step.y, box.lower.y, box.upper.y));
        most = hn::Min(most, StepsToEdge(place.z, m_step.z, box.lower.z, box.upper.z));
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

    HWY_INLINE F StepsToEdge(F place, F step, F lower, F upper) const {
        const F edge = hn::IfThenElse(hn::Gt(step, Zero()), upper, lower);
        const F steps = hn::Div(hn::Sub(edge, place), step);
        return hn::IfThenElse(hn::Eq(step, Zero()), All(kFar), steps);
    }

    HWY_INLINE bool IsInside(const Place& p, M isEnded, const ClearBox& box) const {
        const M x = hn::And(hn::Ge(p.x, box.lower.x), hn::Lt(p.x, box.upper.x));
        const M y = hn::And(hn::Ge(p.y, box.lower.y), hn::Lt(p.y, box.upper.y));
        const M z = hn::And(hn::Ge(p.z, box.lower.z), hn::Lt(p.z, box.upper.z));
        return hn::AllTrue(Floats(), hn::Or(isEnded, hn::And(hn::And(x, y), z)));
    }

    const VolumeDraw& m_draw;
    const Voxels m_voxels;
    Place m_start, m_step;
    F m_length;
    M m_isInside;
    F m_red, m_green, m_blue;
    F m_alpha; ///< above 1 for rays that are outside
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

void castVectorRays(const VolumeDraw& draw, const PixelRun& pixels, Rgba* colors) {
    RayPaths paths;
    if (!findPaths(draw, pixels, paths)) {
        std::fill_n(colors, pixels.count, Rgba());
        return;
    }
    Rgba all[RayPaths::kMost];
    g_CastRays(draw, paths, all);
    std::copy_n(all, pixels.count, colors);
}

} // namespace qel::internal
#endif
