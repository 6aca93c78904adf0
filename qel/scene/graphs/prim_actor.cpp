#include <qel/scene/graphs/prim_actor.h>

#include <qel/foundation/base/types.h>
#include <qel/render/renderer.h>
#include <qel/scene/actors/color_scope.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace qel {

namespace {

constexpr int64 kRingStep = 1024;
constexpr double kCircle = 65536;

IVec2<float> sum(const IVec2<float>& a, const IVec2<float>& b) {
    return {a.x + b.x, a.y + b.y};
}

/// Rounds a sine, because its last bit differs between processors and the pixels of a frame must not.
double rounded(double sine) {
    return std::ldexp(std::round(std::ldexp(sine, 40)), -40);
}

/// A direction, from which the points at all radii are computed.
struct Direction {
    double sine;
    double cosine;

    explicit Direction(int64 angle) {
        const double radians = 2 * std::numbers::pi * (static_cast<uint16>(angle) / kCircle);
        sine = rounded(std::sin(radians));
        cosine = rounded(std::cos(radians));
    }
    IVec2<float> at(float radius) const {
        const double r = radius;
        return {static_cast<float>(r * sine), static_cast<float>(-r * cosine)};
    }
};

} // namespace

PrimActor::PrimActor() = default;
PrimActor::~PrimActor() = default;

PrimActor& PrimActor::addTriangle(const IVec2<float>& a, const IVec2<float>& b, const IVec2<float>& c) {
    m_vertices.insert(m_vertices.end(), {a, b, c});
    return *this;
}

PrimActor& PrimActor::addQuad(const IVec2<float>& a, const IVec2<float>& b, const IVec2<float>& c,
                              const IVec2<float>& d) {
    return addTriangle(a, b, c).addTriangle(a, c, d);
}

PrimActor& PrimActor::createRingSegment(float radiusA, float radiusB, int start, int end) {
    m_vertices.clear();
    m_type = Type::Triangles;
    for (int64 angle = start; angle < end; angle += kRingStep) {
        const Direction from(angle), to(std::min<int64>(angle + kRingStep, end));
        addTriangle(from.at(radiusB), from.at(radiusA), to.at(radiusA));
        addTriangle(from.at(radiusB), to.at(radiusA), to.at(radiusB));
    }
    return *this;
}

PrimActor& PrimActor::setColor(const IVec4<float>& color) {
    m_color = color;
    return *this;
}

PrimActor& PrimActor::setOffset(const IVec2<float>& offset) {
    m_offset = offset;
    return *this;
}

PrimActor& PrimActor::setShadow(bool shadow) {
    m_shadow = shadow;
    return *this;
}

PrimActor& PrimActor::setType(Type type) {
    m_type = type;
    return *this;
}

void PrimActor::onRender(Renderer* renderer) {
    const ColorScope color(*renderer, m_color);
    if (!color.isVisible()) return;
    if (m_shadow) {
        const ColorScope shadow(*renderer, ColorScope::shadow());
        const auto distance = static_cast<float>(system()->getTheme()->dotSize());
        drawPrimActorInternal(*renderer, sum(m_offset, {distance, distance}));
    }
    drawPrimActorInternal(*renderer, m_offset);
}

void PrimActor::drawPrimActorInternal(Renderer& renderer, const IVec2<float>& offset) const {
    const size_t count = m_vertices.size();
    const auto at = [&](size_t i) { return sum(m_vertices[i], offset); };
    switch (m_type) {
    case Type::Lines:
        for (size_t i = 1; i < count; i += 2) renderer.drawAALineInternal(at(i - 1), at(i));
        break;
    case Type::Triangles:
        for (size_t i = 2; i < count; i += 3) renderer.drawTriangleInternal(at(i - 2), at(i - 1), at(i));
        break;
    case Type::LineStrip:
        for (size_t i = 1; i < count; ++i) renderer.drawAALineInternal(at(i - 1), at(i));
        break;
    }
}

} // namespace qel
