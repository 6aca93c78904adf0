#include <qel/software3d/mesh_raster_p.h>

#include <qel/software3d/parallel_p.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace qel::internal {
namespace {

/// Positions on the target are multiples of this part of a pixel.
constexpr int64 kSubpixels = 256;
constexpr int kBandRows = 32;
/// Meshes with less area are drawn by one thread, because others take longer to begin.
constexpr double kInlinePixels = 40'000;
constexpr float kOpaqueAlpha = 0.998f;
/// The share of the colour that a surface has that is seen from its side.
constexpr double kAmbient = 0.25;

/// A corner in clip space, with its normal in view space.
struct Corner {
    IVec4<double> clip;
    IVec3<double> normal;
};

/// A corner on the target.
struct ScreenCorner {
    int64 x, y; ///< in subpixels
    double depth;
    IVec3<double> normal; ///< divided by w
};

/// Pixels of a row.
struct Span {
    int begin, end;
};

struct ScreenTriangle {
    ScreenCorner corners[3];
    double area; ///< positive
};

IVec3<double> cross(const IVec3<double>& a, const IVec3<double>& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double determinant(const Double4x4& m) {
    const auto minor = [&](int row) {
        std::array<IVec3<double>, 3> rows;
        for (int r = 0, i = 0; r < 4; ++r) {
            if (r != row) rows[static_cast<size_t>(i++)] = {m[r][1], m[r][2], m[r][3]};
        }
        const IVec3<double> c = cross(rows[1], rows[2]);
        return rows[0].x * c.x + rows[0].y * c.y + rows[0].z * c.z;
    };
    return m[0][0] * minor(0) - m[1][0] * minor(1) + m[2][0] * minor(2) - m[3][0] * minor(3);
}

/// The matrix of normals: the cofactors of the upper left block.
std::array<IVec3<double>, 3> cofactors(const Double4x4& m) {
    const IVec3<double> a(m[0][0], m[0][1], m[0][2]), b(m[1][0], m[1][1], m[1][2]),
        c(m[2][0], m[2][1], m[2][2]);
    return {cross(b, c), cross(c, a), cross(a, b)};
}

bool isFinite(const IVec4<double>& v) {
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z) && std::isfinite(v.w);
}

/// Returns true if a corner is in front of the eye, with a w that has an inverse.
bool isInFront(const Corner& corner) {
    return corner.clip.w >= std::numeric_limits<double>::min();
}

/// Returns how far a corner is inside one of the six planes of the picture.
double insideOf(const IVec4<double>& v, int plane) {
    const double value = v[plane / 2];
    return plane % 2 == 0 ? v.w + value : v.w - value;
}

/// Returns the point between @p inside and @p outside on the plane. The order makes triangles with a common
/// edge meet in the same point.
Corner between(const Corner& inside, const Corner& outside, int plane) {
    const double a = insideOf(inside.clip, plane), b = insideOf(outside.clip, plane);
    const double f = a / (a - b);
    Corner corner;
    for (int i = 0; i < 4; ++i) corner.clip[i] = inside.clip[i] + (outside.clip[i] - inside.clip[i]) * f;
    corner.clip[plane / 2] = plane % 2 == 0 ? -corner.clip.w : corner.clip.w; // exact for any coordinates
    for (int i = 0; i < 3; ++i)
        corner.normal[i] = inside.normal[i] + (outside.normal[i] - inside.normal[i]) * f;
    return corner;
}

/// Cuts a convex polygon at the planes of the picture.
void clipPolygon(Vector<Corner>& polygon) {
    Vector<Corner> cut;
    for (int plane = 0; plane < 6; ++plane) {
        const auto isWithin = [plane](const Corner& corner) { return insideOf(corner.clip, plane) >= 0; };
        if (std::all_of(polygon.begin(), polygon.end(), isWithin)) continue; // as most triangles are
        cut.clear();
        for (size_t i = 0; i < polygon.size(); ++i) {
            const Corner& here = polygon[i];
            const Corner& next = polygon[(i + 1) % polygon.size()];
            const bool isInside = insideOf(here.clip, plane) >= 0,
                       isNextInside = insideOf(next.clip, plane) >= 0;
            if (isInside) cut.push_back(here);
            if (isInside != isNextInside)
                cut.push_back(isInside ? between(here, next, plane) : between(next, here, plane));
        }
        polygon.swap(cut);
    }
}

/// Returns the share of the colour of a surface lit from the eye. @param normal  of any length.
float shadeOf(const IVec3<double>& normal) {
    const double square = normal.x * normal.x + normal.y * normal.y + normal.z * normal.z;
    if (!(square > 0) || !std::isfinite(square)) return 1;
    return static_cast<float>(kAmbient + (1 - kAmbient) * std::fabs(normal.z) / std::sqrt(square));
}

/// Draws one mesh.
class MeshRaster {
public:
    MeshRaster(Image& target, DepthBuffer& depth, const Mesh& mesh, const Double4x4& model, const View& view,
               const MeshStyle& style)
        : m_target(target),
          m_depth(depth),
          m_mesh(mesh),
          m_view(view),
          m_style(style),
          m_modelView(model.multiply(view.view)),
          m_toClip(m_modelView.multiply(view.projection)),
          m_normals(cofactors(m_modelView)),
          m_isMirrored(determinant(m_toClip) < 0),
          m_isSmooth(mesh.getNormals().size() >= mesh.getPositions().size()) {}

    void draw() {
        if (m_mesh.isPointcloud()) return drawPoints();
        const Vector<uint32>& indices = m_mesh.getIndices();
        const size_t count = m_mesh.IsIndexed() ? indices.size() : m_mesh.getNumVertices();
        for (size_t i = 0; i + 2 < count; i += 3) {
            if (m_mesh.IsIndexed())
                addTriangle(indices[i], indices[i + 1], indices[i + 2]);
            else
                addTriangle(i, i + 1, i + 2);
        }
        if (countPixels() < kInlinePixels) return fillAll(m_view.clip.y, m_view.clip.w);
        const int rows = m_view.clip.w - m_view.clip.y;
        runPieces(static_cast<unsigned>((rows + kBandRows - 1) / kBandRows), [this](unsigned band) {
            const int begin = m_view.clip.y + static_cast<int>(band) * kBandRows;
            fillAll(begin, std::min(begin + kBandRows, m_view.clip.w));
        });
    }

private:
    /// Returns about the number of pixels in all triangles.
    double countPixels() const {
        double area = 0;
        for (const ScreenTriangle& triangle : m_triangles) area += triangle.area;
        return area / static_cast<double>(2 * kSubpixels * kSubpixels);
    }
    /// Draws all triangles in the rows from @p begin on that are above @p end.
    void fillAll(int begin, int end) {
        for (const ScreenTriangle& triangle : m_triangles) fill(triangle, begin, end);
    }
    IVec3<double> positionOf(size_t i) const { return IVec3<double>(m_mesh.getPositions()[i]); }
    IVec3<double> normalOf(size_t i) const {
        const IVec3<float>& n = m_mesh.getNormals()[i];
        IVec3<double> result;
        for (int axis = 0; axis < 3; ++axis)
            result[axis] = n.x * m_normals[0][axis] + n.y * m_normals[1][axis] + n.z * m_normals[2][axis];
        return result;
    }
    Corner cornerOf(size_t i) const {
        const IVec3<double> p = positionOf(i);
        return {m_toClip.transform(IVec4<double>(p.x, p.y, p.z, 1)),
                m_isSmooth ? normalOf(i) : IVec3<double>()};
    }

    ScreenCorner toScreen(const Corner& corner) const {
        const IVec4<int>& port = m_view.viewport;
        const double inverse = 1 / corner.clip.w;
        // Cuts through huge triangles are inaccurate and may be far outside.
        const double ndcX = std::clamp(corner.clip.x * inverse, -1.0, 1.0);
        const double ndcY = std::clamp(corner.clip.y * inverse, -1.0, 1.0);
        const double x = port.x + (ndcX + 1) / 2 * (port.z - port.x);
        const double y = port.y + (1 - ndcY) / 2 * (port.w - port.y);
        return {static_cast<int64>(std::floor(x * kSubpixels + 0.5)),
                static_cast<int64>(std::floor(y * kSubpixels + 0.5)),
                corner.clip.z * inverse,
                {corner.normal.x * inverse, corner.normal.y * inverse, corner.normal.z * inverse}};
    }

    void addTriangle(size_t a, size_t b, size_t c) {
        const size_t vertices = m_mesh.getNumVertices();
        if (a >= vertices || b >= vertices || c >= vertices) return;
        m_polygon = {cornerOf(a), cornerOf(b), cornerOf(c)};
        for (const Corner& corner : m_polygon)
            if (!isFinite(corner.clip)) return;
        if (!m_isSmooth) setFlatNormal(a, b, c);
        clipPolygon(m_polygon);
        for (size_t i = 1; i + 1 < m_polygon.size(); ++i)
            addScreenTriangle(m_polygon[0], m_polygon[i], m_polygon[i + 1]);
    }

    void setFlatNormal(size_t a, size_t b, size_t c) {
        const IVec3<double> p = m_modelView.transform(positionOf(a)),
                            q = m_modelView.transform(positionOf(b)),
                            r = m_modelView.transform(positionOf(c));
        const IVec3<double> normal =
            cross({q.x - p.x, q.y - p.y, q.z - p.z}, {r.x - p.x, r.y - p.y, r.z - p.z});
        for (Corner& corner : m_polygon) corner.normal = normal;
    }

    void addScreenTriangle(const Corner& a, const Corner& b, const Corner& c) {
        if (!(isInFront(a) && isInFront(b) && isInFront(c))) return;
        ScreenTriangle triangle{{toScreen(a), toScreen(b), toScreen(c)}, 0};
        auto& [p, q, r] = triangle.corners;
        const int64 area = (q.x - p.x) * (r.y - p.y) - (q.y - p.y) * (r.x - p.x);
        if (area == 0) return;
        // On the target y points down, so that a positive area is clockwise in the picture.
        const bool isFront = (area > 0) != m_isMirrored;
        if (m_style.cullMode == (isFront ? 2 : 1)) return;
        if (area < 0) std::swap(q, r);
        triangle.area = static_cast<double>(std::abs(area));
        m_triangles.push_back(triangle);
    }

    /// Fills the pixels of some rows whose centres are inside. Of centres on an edge, those of left and upper
    /// edges are, so that triangles with a common edge share no pixel.
    void fill(const ScreenTriangle& triangle, int rowBegin, int rowEnd) {
        const auto& [a, b, c] = triangle.corners;
        const auto pixels = [](int64 subpixels) { return static_cast<int>(subpixels >> 8); };
        const int left = std::max(pixels(std::min({a.x, b.x, c.x})), m_view.clip.x);
        const int right = std::min(pixels(std::max({a.x, b.x, c.x})) + 1, m_view.clip.z);
        const int top = std::max(pixels(std::min({a.y, b.y, c.y})), rowBegin);
        const int bottom = std::min(pixels(std::max({a.y, b.y, c.y})) + 1, rowEnd);
        for (int y = top; y < bottom; ++y) {
            const int64 py = centreOf(y);
            Span span{left, right};
            limit(span, b, c, py);
            limit(span, c, a, py);
            limit(span, a, b, py);
            for (int x = span.begin; x < span.end; ++x) {
                const int64 px = centreOf(x);
                shadePixel(triangle, x, y, edge(b, c, px, py), edge(c, a, px, py), edge(a, b, px, py));
            }
        }
    }

    static int64 centreOf(int pixel) { return pixel * kSubpixels + kSubpixels / 2; }
    /// Limits @p span to the pixels of a row whose centres are inside of an edge.
    static void limit(Span& span, const ScreenCorner& from, const ScreenCorner& to, int64 y) {
        const bool isLeftOrUpper = to.y < from.y || (to.y == from.y && to.x > from.x);
        // A centre is inside if first + step * (pixels from the first) >= 0.
        const int64 first = edge(from, to, centreOf(span.begin), y) - (isLeftOrUpper ? 0 : 1);
        const int64 step = (from.y - to.y) * kSubpixels;
        const int64 count = span.end - span.begin;
        if (first < 0)
            span.begin += static_cast<int>(step > 0 ? std::min((step - 1 - first) / step, count) : count);
        else if (step < 0)
            span.end = span.begin + static_cast<int>(std::min(first / -step + 1, count));
    }
    /// Returns a number that is 0 on an edge and negative outside.
    static int64 edge(const ScreenCorner& from, const ScreenCorner& to, int64 x, int64 y) {
        return (to.x - from.x) * (y - from.y) - (to.y - from.y) * (x - from.x);
    }

    /// Draws a pixel of a triangle. @param atA  and so on: the weights of the corners, whose sum is the area.
    void shadePixel(const ScreenTriangle& triangle, int x, int y, int64 atA, int64 atB, int64 atC) {
        const double weights[3] = {static_cast<double>(atA) / triangle.area,
                                   static_cast<double>(atB) / triangle.area,
                                   static_cast<double>(atC) / triangle.area};
        double depth = 0;
        IVec3<double> normal;
        for (int i = 0; i < 3; ++i) {
            depth += weights[i] * triangle.corners[i].depth;
            // The common factor 1 / w does not change the direction.
            for (int axis = 0; axis < 3; ++axis)
                normal[axis] += weights[i] * triangle.corners[i].normal[axis];
        }
        drawPixel(x, y, static_cast<float>(depth), shadeOf(normal));
    }

    void drawPoints() {
        for (size_t i = 0; i < m_mesh.getNumVertices(); ++i) {
            const Corner corner = cornerOf(i);
            bool isVisible = isFinite(corner.clip) && isInFront(corner);
            for (int plane = 0; plane < 6; ++plane)
                isVisible = isVisible && insideOf(corner.clip, plane) >= 0;
            if (!isVisible) continue;
            const ScreenCorner at = toScreen(corner);
            const auto x = static_cast<int>(at.x >> 8), y = static_cast<int>(at.y >> 8);
            const IVec4<int>& clip = m_view.clip;
            if (x >= clip.x && x < clip.z && y >= clip.y && y < clip.w)
                drawPixel(x, y, static_cast<float>(at.depth), m_isSmooth ? shadeOf(at.normal) : 1.0f);
        }
    }

    void drawPixel(int x, int y, float depth, float shade) {
        const IVec4<float>& tint = m_view.tint;
        if (m_style.testsDepth) {
            float& nearest = m_depth.at(x, y);
            if (!(depth < nearest)) return;
            if (tint.w >= kOpaqueAlpha) nearest = depth;
        }
        const float alpha = toUnit(tint.w), factor = shade * alpha;
        blendPixel(m_target.getBytePointer(y) + std::ptrdiff_t{x} * 4,
                   {tint.x * factor, tint.y * factor, tint.z * factor, alpha});
    }

    Image& m_target;
    DepthBuffer& m_depth;
    const Mesh& m_mesh;
    const View& m_view;
    const MeshStyle& m_style;
    const Double4x4 m_modelView;
    const Double4x4 m_toClip;
    const std::array<IVec3<double>, 3> m_normals;
    const bool m_isMirrored;
    const bool m_isSmooth;
    Vector<Corner> m_polygon;
    Vector<ScreenTriangle> m_triangles;
};

} // namespace

void DepthBuffer::clear(const IVec2<int>& newSize) {
    size = newSize;
    values.assign(static_cast<size_t>(size.x) * static_cast<size_t>(size.y), 1.0f);
}

void drawMesh(Image& target, DepthBuffer& depth, const Mesh& mesh, const Double4x4& model, const View& view,
              const MeshStyle& style) {
    MeshRaster(target, depth, mesh, model, view, style).draw();
}

} // namespace qel::internal
