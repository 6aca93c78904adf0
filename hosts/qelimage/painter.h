// Painter: draws on a picture through the software renderer.
#pragma once

#include <qel/foundation/base/rect.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/imaging/pixels/image.h>
#include <qel/render/renderer_software.h>

#include <functional>
#include <span>

namespace qelimage {

using Color = qel::IVec4<float>;
using Point = qel::IVec2<float>;

/// Returns the rectangle with this left top corner and size.
qel::Rect rectOf(int left, int top, int width, int height);

/// Draws one frame on a picture, which is complete when the painter is destroyed. @threads main thread.
class Painter {
public:
    /// Fills @p target, which must outlive the painter and be BGRA8, with a colour.
    Painter(qel::Image* target, const Color& background);
    ~Painter();
    Painter(const Painter&) = delete;
    Painter& operator=(const Painter&) = delete;

    /// Returns the renderer, for everything else.
    qel::RendererSoftware& renderer() { return *m_renderer; }
    /// Returns a texture with the pixels of @p image.
    qel::SmartPointer<qel::Texture> makeTexture(qel::Image&& image,
                                                qel::Filter filter = qel::Filter::Bilinear);

    /// Fills a rectangle.
    void fill(const qel::Rect& rect, const Color& color);
    /// Fills a polygon.
    void fill(std::span<const Point> polygon, const Color& color);
    /// Draws a line that is one pixel wide.
    void drawLine(const Point& from, const Point& to, const Color& color);
    /// Draws a picture in its own size times @p scale. @param color  tints it.
    void draw(qel::Image&& image, int left, int top, int scale = 1, const Color& color = {1, 1, 1, 1});

private:
    qel::SmartPointer<qel::RendererSoftware> m_renderer;
};

/// Draws a picture by @p paint.
/// @return RGB8 on an opaque background, else BGRA8; uninitialised if there is no memory, which is logged.
qel::Image drawn(const qel::IVec2<int>& size, const Color& background,
                 const std::function<void(Painter&)>& paint);

} // namespace qelimage
