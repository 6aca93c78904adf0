// PrimActor: lines or triangles in one colour.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/platform/api.h>
#include <qel/scene/actors/actor.h>

namespace qel {

/// Draws lines or filled triangles between points, all in one colour. Setters return the actor.
/// @threads main thread; System must exist.
class QEL_API PrimActor : public Actor {
    QEL_CLASS(PrimActor, Actor)

public:
    /// How the points are joined.
    enum class Type : int {
        Lines = 0,     ///< a line for each two points; a last one alone is left out
        Triangles = 1, ///< a triangle for each three points
        LineStrip = 2, ///< a line from each point to the next
    };

    PrimActor();
    ~PrimActor() override;

    void onRender(Renderer* renderer) override;

    /// Adds the points of a triangle.
    PrimActor& addTriangle(const IVec2<float>& a, const IVec2<float>& b, const IVec2<float>& c);
    /// Adds the points of the triangles a, b, c and a, c, d.
    PrimActor& addQuad(const IVec2<float>& a, const IVec2<float>& b, const IVec2<float>& c,
                       const IVec2<float>& d);
    /// Replaces the points by the triangles of a part of a ring around (0, 0).
    /// @param radiusA, radiusB  in pixels.
    /// @param start, end        angles, clockwise from straight up; 65536 is a full circle. Nothing is added
    ///                          unless @p end is above @p start.
    PrimActor& createRingSegment(float radiusA, float radiusB, int start, int end);

    /// Sets the colour; white initially.
    PrimActor& setColor(const IVec4<float>& color);
    /// Returns the colour.
    const IVec4<float>& getColor() const { return m_color; }
    /// Sets a distance in pixels by which all points are moved.
    PrimActor& setOffset(const IVec2<float>& offset);
    /// Returns the distance by which all points are moved.
    const IVec2<float>& getOffset() const { return m_offset; }
    /// Draws a dark shadow below, Theme::dotSize() to the right and down.
    PrimActor& setShadow(bool shadow);
    /// Returns true if a shadow is drawn.
    bool hasShadow() const { return m_shadow; }
    /// Sets how the points are joined; Lines initially.
    PrimActor& setType(Type type);
    /// Returns how the points are joined.
    Type getType() const { return m_type; }
    /// Returns the points, which the caller may change.
    Vector<IVec2<float>>& vertices() { return m_vertices; }

private:
    void drawPrimActorInternal(Renderer& renderer, const IVec2<float>& offset) const;

    IVec4<float> m_color{1, 1, 1, 1};
    Vector<IVec2<float>> m_vertices;
    Type m_type = Type::Lines;
    bool m_shadow = false;
    IVec2<float> m_offset;
};

} // namespace qel
