// Recorded operations that draw one colour: rectangles, triangles, lines and clear().
#pragma once

#include <qel/render/command_list_p.h>
#include <qel/render/span_kernels_p.h>

#include <array>
#include <optional>

namespace qel::internal {

/// Fills the area with a colour.
class FillCommand final : public DrawCommand {
public:
    FillCommand(const IVec4<int>& area, const Color& tint) : DrawCommand(area), m_tint(tint) {}
    void drawRows(const Surface& surface, int begin, int end) const override;

private:
    Color m_tint;
};

/// Stores a colour, whatever its alpha, in the area.
class ClearCommand final : public DrawCommand {
public:
    ClearCommand(const IVec4<int>& area, const Color& color) : DrawCommand(area), m_color(color) {}
    void drawRows(const Surface& surface, int begin, int end) const override;

private:
    Color m_color;
};

/// The corners of a triangle and its winding.
class TriangleShape {
public:
    /// @return nothing for a triangle without area or with a corner that is not finite.
    static std::optional<TriangleShape> of(const IVec2<float>& a, const IVec2<float>& b,
                                           const IVec2<float>& c);

    /// Returns the pixels that the triangle may touch.
    IVec4<int> bounds() const;
    /// Returns true if the centre of a pixel is inside or on an edge.
    bool contains(int x, int y) const;
    /// Returns the first pixel and one past the last one of row @p y whose centres are inside. They are found
    /// by bisection: in each row the pixels inside one edge begin or end at one place, because rounding keeps
    /// the order of the products.
    IVec2<int> span(int y, int left, int right) const;
    /// Finds the same for @p count rows from @p top at once. @param count  at most kSolvedRows.
    void spans(int top, int count, int left, int right, SpanEnds* out) const;

private:
    double edge(int corner, int x, int y) const;
    bool isInside(int corner, int x, int y) const { return edge(corner, x, y) * m_winding >= 0; }

    std::array<IVec2<double>, 3> m_corners;
    double m_winding = 0; // 1 or -1
};

/// Fills a triangle with a colour.
class TriangleCommand final : public DrawCommand {
public:
    TriangleCommand(const IVec4<int>& area, const TriangleShape& shape, const Color& tint)
        : DrawCommand(area), m_shape(shape), m_tint(tint) {}
    void drawRows(const Surface& surface, int begin, int end) const override;

private:
    template <typename Pixel>
    void drawPlainly(const Surface& surface, int begin, int end) const;
    template <typename Pixel>
    void drawSpans(const Surface& surface, int begin, int end) const;

    TriangleShape m_shape;
    Color m_tint;
};

/// Draws a smooth line by Xiaolin Wu's method.
class LineCommand final : public DrawCommand {
public:
    /// The pixels that a line between two pixels may touch.
    static IVec4<int> bounds(const IVec2<int>& from, const IVec2<int>& to);

    LineCommand(const IVec4<int>& area, IVec2<int> from, IVec2<int> to, const Color& tint);
    void drawRows(const Surface& surface, int begin, int end) const override;

private:
    template <typename Pixel>
    void drawColumns(const Surface& surface, int begin, int end) const;
    void coverColumns(const Surface& surface, const IVec4<int>& part, int64 first, int64 last) const;
    /// Returns the ideal minor coordinate of a column.
    double minorAt(int64 major) const {
        return static_cast<double>(m_from.y) + m_gradient * static_cast<double>(major - m_from.x);
    }
    template <typename Pixel>
    void cover(const Surface& surface, const IVec4<int>& part, int64 major, int64 minor,
               double coverage) const;

    // In a steep line x and y are exchanged, so that the major coordinate grows from m_from to m_to.
    IVec2<int64> m_from;
    IVec2<int64> m_to;
    double m_gradient = 0;
    bool m_isSteep = false;
    Color m_tint;
};

} // namespace qel::internal
