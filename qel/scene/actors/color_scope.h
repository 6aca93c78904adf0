// ColorScope: a tint for the duration of a scope.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/render/renderer.h>
#include <qel/scene/actors/anim_color.h>

namespace qel {

/// Pushes a tint and removes it at the end of the scope. Actors draw in such scopes.
/// @threads main thread.
class ColorScope {
public:
    /// Pushes @p color. @p renderer must outlive the scope.
    ColorScope(Renderer& renderer, const IVec4<float>& color) : m_renderer(renderer) {
        renderer.pushColor(color);
    }
    /// Pushes the product of @p color and @p animated, which takes a step if it moves; null counts as white.
    ColorScope(Renderer& renderer, const IVec4<float>& color, AnimColor* animated)
        : ColorScope(renderer, animated == nullptr ? color : product(color, animated->getColor())) {}
    ColorScope(const ColorScope&) = delete;
    ColorScope& operator=(const ColorScope&) = delete;
    ~ColorScope() { m_renderer.popColor(); }

    /// Returns the tint of shadows.
    static constexpr IVec4<float> shadow() { return {0.1f, 0.1f, 0.1f, 0.8f}; }
    /// Returns true if the alpha of the renderer's tint is at least one step of 8 bits.
    bool isVisible() const { return m_renderer.getColor().w >= 0.003921569f; }

private:
    static IVec4<float> product(const IVec4<float>& a, const IVec4<float>& b) {
        return {a.x * b.x, a.y * b.y, a.z * b.z, a.w * b.w};
    }

    Renderer& m_renderer;
};

} // namespace qel
