#include <qel/render/fill_commands_p.h>

#include <qel/render/span_kernels_p.h>

#include <cmath>

namespace qel::internal {

namespace {

/// Areas with fewer pixels are drawn in single precision: finding whole numbers would take longer.
constexpr int64 kFitPixels = 512;

/// Draws a colour on rows of pixels.
template <typename Pixel>
void fillRows(const SpanRows& rows, const Color& tint) {
    if constexpr (Pixel::kBytes == 4) {
        ByteMix mix;
        if (tint.w <= kSolidAlpha && int64{rows.width} * rows.height >= kFitPixels &&
            mix.fit(SpanMix::of(tint)))
            return mixRowsBgra8(rows, mix);
    }
    blendRows<Pixel>(rows, tint);
}

/// Calls `draw(p)` for each pixel of the rows.
template <typename Pixel, typename Draw>
void forPixels(const SpanRows& rows, const Draw& draw) {
    for (int y = 0; y < rows.height; ++y)
        for (int x = 0; x < rows.width; ++x)
            draw(rows.pixels + y * rows.pitch + std::ptrdiff_t{x} * Pixel::kBytes);
}

/// Returns the part of a surface between two columns and two rows.
template <typename Pixel>
SpanRows spanRows(const Surface& surface, int left, int right, int top, int bottom) {
    return {surface.row(top) + std::ptrdiff_t{left} * Pixel::kBytes, surface.pitch, right - left,
            bottom - top};
}

int limited(double coordinate) {
    constexpr double kLimit = 1 << 30;
    return static_cast<int>(std::clamp(coordinate, -kLimit, kLimit));
}

} // namespace

void FillCommand::drawRows(const Surface& surface, int begin, int end) const {
    withPixelType(surface.kind, [&](auto pixel) {
        using Pixel = decltype(pixel);
        const SpanRows rows = spanRows<Pixel>(surface, area().x, area().z, begin, end);
        if (!surface.isPlain) return fillRows<Pixel>(rows, m_tint);
        forPixels<Pixel>(rows, [this](uint8* p) { blendPixel<Pixel>(p, m_tint); });
    });
}

void ClearCommand::drawRows(const Surface& surface, int begin, int end) const {
    withPixelType(surface.kind, [&](auto pixel) {
        using Pixel = decltype(pixel);
        const SpanRows rows = spanRows<Pixel>(surface, area().x, area().z, begin, end);
        if (!surface.isPlain) return storeRows<Pixel>(rows, m_color);
        forPixels<Pixel>(rows, [this](uint8* p) { Pixel::write(p, m_color); });
    });
}

/// Returns a colour as the four bytes of a BGRA8 pixel.
uint32 packed(const Color& color) {
    uint8 bytes[4];
    Bgra8::write(bytes, color);
    uint32 pixel = 0;
    std::memcpy(&pixel, bytes, sizeof pixel);
    return pixel;
}

// --- triangles
// ----------------------------------------------------------------------------------------------

std::optional<TriangleShape> TriangleShape::of(const IVec2<float>& a, const IVec2<float>& b,
                                               const IVec2<float>& c) {
    TriangleShape shape;
    shape.m_corners = {IVec2<double>(a), IVec2<double>(b), IVec2<double>(c)};
    const auto& [p, q, r] = shape.m_corners;
    const double cross = (r.x - p.x) * (q.y - p.y) - (r.y - p.y) * (q.x - p.x);
    if (cross == 0 || !std::isfinite(cross)) return {};
    shape.m_winding = cross > 0 ? 1 : -1;
    return shape;
}

IVec4<int> TriangleShape::bounds() const {
    const auto& [p, q, r] = m_corners;
    const auto low = [](double a, double b, double c) { return limited(std::floor(std::min({a, b, c}))); };
    const auto high = [](double a, double b, double c) { return limited(std::ceil(std::max({a, b, c}))); };
    return {low(p.x, q.x, r.x), low(p.y, q.y, r.y), high(p.x, q.x, r.x), high(p.y, q.y, r.y)};
}

// The corners exchange their roles in turn: each edge is tested against the point as the winding is against
// the third corner.
double TriangleShape::edge(int corner, int x, int y) const {
    const IVec2<double>& a = m_corners[static_cast<size_t>(corner)];
    const IVec2<double>& b = m_corners[static_cast<size_t>((corner + 1) % 3)];
    return (x + 0.5 - a.x) * (b.y - a.y) - (y + 0.5 - a.y) * (b.x - a.x);
}

bool TriangleShape::contains(int x, int y) const {
    return isInside(0, x, y) && isInside(1, x, y) && isInside(2, x, y);
}

IVec2<int> TriangleShape::span(int y, int left, int right) const {
    for (int corner = 0; corner < 3 && left < right; ++corner) {
        const bool isFirstInside = isInside(corner, left, y);
        if (isFirstInside == isInside(corner, right - 1, y)) {
            if (!isFirstInside) return {left, left};
            continue;
        }
        int same = left;       // as the first pixel
        int other = right - 1; // as the last one
        while (other - same > 1) {
            const int middle = same + (other - same) / 2;
            (isInside(corner, middle, y) == isFirstInside ? same : other) = middle;
        }
        (isFirstInside ? right : left) = other;
    }
    return {left, right};
}

void TriangleShape::spans(int top, int count, int left, int right, SpanEnds* out) const {
    std::array<SpanEdge, 3> edges;
    for (size_t i = 0; i < 3; ++i) {
        const IVec2<double>& a = m_corners[i];
        const IVec2<double>& b = m_corners[(i + 1) % 3];
        edges[i] = {a.x, a.y, b.x - a.x, b.y - a.y, m_winding};
    }
    if (solveSpans(edges.data(), top, count, left, right, out)) return;
    for (int i = 0; i < count; ++i) {
        const IVec2<int> ends = span(top + i, left, right);
        out[i] = {ends.x, ends.y};
    }
}

void TriangleCommand::drawRows(const Surface& surface, int begin, int end) const {
    withPixelType(surface.kind, [&](auto pixel) {
        using Pixel = decltype(pixel);
        surface.isPlain ? drawPlainly<Pixel>(surface, begin, end) : drawSpans<Pixel>(surface, begin, end);
    });
}

template <typename Pixel>
void TriangleCommand::drawPlainly(const Surface& surface, int begin, int end) const {
    for (int y = begin; y < end; ++y)
        for (int x = area().x; x < area().z; ++x)
            if (m_shape.contains(x, y))
                blendPixel<Pixel>(surface.row(y) + std::ptrdiff_t{x} * Pixel::kBytes, m_tint);
}

template <typename Pixel>
void TriangleCommand::drawSpans(const Surface& surface, int begin, int end) const {
    std::array<SpanEnds, kSolvedRows> spans;
    for (int top = begin; top < end; top += kSolvedRows) {
        const int count = std::min(kSolvedRows, end - top);
        m_shape.spans(top, count, area().x, area().z, spans.data());
        if (Pixel::kBytes == 4 && m_tint.w > kSolidAlpha) {
            fillSpans32(surface.row(top), surface.pitch, spans.data(), count, packed(m_tint));
            continue;
        }
        for (int i = 0; i < count; ++i) {
            const auto [left, right] = spans[static_cast<size_t>(i)];
            if (left < right)
                blendRows<Pixel>(spanRows<Pixel>(surface, left, right, top + i, top + i + 1), m_tint);
        }
    }
}

// --- lines
// --------------------------------------------------------------------------------------------------

IVec4<int> LineCommand::bounds(const IVec2<int>& from, const IVec2<int>& to) {
    return {std::min(from.x, to.x) - 1, std::min(from.y, to.y) - 1, std::max(from.x, to.x) + 2,
            std::max(from.y, to.y) + 2}; // rounding may reach a pixel beyond the ends
}

LineCommand::LineCommand(const IVec4<int>& area, IVec2<int> from, IVec2<int> to, const Color& tint)
    : DrawCommand(area), m_from(from), m_to(to), m_tint(tint) {
    const int64 dx = std::abs(m_to.x - m_from.x);
    const int64 dy = std::abs(m_to.y - m_from.y);
    m_isSteep = dy > dx;
    if (m_isSteep) {
        std::swap(m_from.x, m_from.y);
        std::swap(m_to.x, m_to.y);
    }
    if (m_from.x > m_to.x) std::swap(m_from, m_to);
    const int64 length = m_to.x - m_from.x;
    if (length > 0) m_gradient = static_cast<double>(m_to.y - m_from.y) / static_cast<double>(length);
}

void LineCommand::drawRows(const Surface& surface, int begin, int end) const {
    withPixelType(surface.kind, [&](auto pixel) { drawColumns<decltype(pixel)>(surface, begin, end); });
}

// The end pixels get half of their coverage, because the line ends in their middle.
template <typename Pixel>
void LineCommand::drawColumns(const Surface& surface, int begin, int end) const {
    const IVec4<int> part(area().x, begin, area().z, end);
    for (const IVec2<int64>& point : {m_from, m_to}) {
        cover<Pixel>(surface, part, point.x, point.y, 0.5);
        cover<Pixel>(surface, part, point.x, point.y + 1, 0);
    }
    int64 first = std::max<int64>(m_from.x + 1, m_isSteep ? part.y : part.x);
    int64 last = std::min<int64>(m_to.x, m_isSteep ? part.w : part.z);
    if (!m_isSteep && m_gradient != 0) { // only these columns may touch the rows
        const double a =
            static_cast<double>(m_from.x) + static_cast<double>(begin - 2 - m_from.y) / m_gradient;
        const double b = static_cast<double>(m_from.x) + static_cast<double>(end + 1 - m_from.y) / m_gradient;
        constexpr double kLimit = 1e15;
        first = std::max(first, static_cast<int64>(std::clamp(std::min(a, b), -kLimit, kLimit)) - 1);
        last = std::min(last, static_cast<int64>(std::clamp(std::max(a, b), -kLimit, kLimit)) + 2);
    }
    if (Pixel::kBytes == 4 && !surface.isPlain) return coverColumns(surface, part, first, last);
    for (int64 major = first; major < last; ++major) {
        const double minor = minorAt(major);
        const double whole = std::floor(minor);
        const double fraction = minor - whole;
        cover<Pixel>(surface, part, major, static_cast<int64>(whole), 1 - fraction);
        cover<Pixel>(surface, part, major, static_cast<int64>(whole) + 1, fraction);
    }
}

// The same for several columns at once.
void LineCommand::coverColumns(const Surface& surface, const IVec4<int>& part, int64 first,
                               int64 last) const {
    LinePixels pixels;
    const int64 low = m_isSteep ? part.x : part.y;
    const int64 high = m_isSteep ? part.z : part.w;
    const std::ptrdiff_t majorPitch = m_isSteep ? surface.pitch : Bgra8::kBytes;
    const std::ptrdiff_t minorPitch = m_isSteep ? Bgra8::kBytes : surface.pitch;
    const auto add = [&](int64 major, int64 minor, double coverage) {
        if (minor < low || minor >= high) return;
        pixels.places[pixels.count] = surface.pixels + major * majorPitch + minor * minorPitch;
        pixels.coverage[pixels.count++] = static_cast<float>(coverage);
    };
    for (int64 major = first; major < last; ++major) {
        const double minor = minorAt(major);
        auto whole = static_cast<int64>(minor);
        if (static_cast<double>(whole) > minor) --whole;
        const double fraction = minor - static_cast<double>(whole);
        add(major, whole, 1 - fraction);
        add(major, whole + 1, fraction);
        if (pixels.count < LinePixels::kMost - 1) continue;
        coverPixels(pixels, m_tint);
        pixels.count = 0;
    }
    coverPixels(pixels, m_tint);
}

// The alpha of the tint does not weight the colour, but it becomes that of every pixel, also where the
// coverage is 0.
template <typename Pixel>
void LineCommand::cover(const Surface& surface, const IVec4<int>& part, int64 major, int64 minor,
                        double coverage) const {
    const int64 x = m_isSteep ? minor : major;
    const int64 y = m_isSteep ? major : minor;
    if (x < part.x || x >= part.z || y < part.y || y >= part.w) return;
    uint8* const p = surface.row(static_cast<int>(y)) + x * Pixel::kBytes;
    const float c = static_cast<float>(coverage);
    const Color old = Pixel::read(p);
    Pixel::write(p, {c * m_tint.x + (1 - c) * old.x, c * m_tint.y + (1 - c) * old.y,
                     c * m_tint.z + (1 - c) * old.z, m_tint.w});
}

} // namespace qel::internal
