#include "painter.h"

#include "pixels.h"

#include <utility>

namespace qelimage {

qel::Rect rectOf(int left, int top, int width, int height) {
    return {static_cast<float>(left), static_cast<float>(top), static_cast<float>(left + width),
            static_cast<float>(top + height)};
}

Painter::Painter(qel::Image* target, const Color& background) : m_renderer(new qel::RendererSoftware) {
    m_renderer->setRenderTarget(target);
    m_renderer->start();
    m_renderer->clear(background);
}

Painter::~Painter() {
    m_renderer->stop();
    m_renderer->setRenderTarget(nullptr);
}

qel::SmartPointer<qel::Texture> Painter::makeTexture(qel::Image&& image, qel::Filter filter) {
    qel::SmartPointer<qel::Texture> texture = m_renderer->createTexture();
    texture->upload(std::move(image), false);
    texture->setFilter(filter);
    return texture;
}

void Painter::fill(const qel::Rect& rect, const Color& color) {
    m_renderer->pushColor(color);
    m_renderer->drawRectInternal(rect);
    m_renderer->popColor();
}

void Painter::fill(std::span<const Point> polygon, const Color& color) {
    m_renderer->pushColor(color);
    m_renderer->drawFilledPolygonInternal(static_cast<int>(polygon.size()), polygon.data());
    m_renderer->popColor();
}

void Painter::drawLine(const Point& from, const Point& to, const Color& color) {
    m_renderer->pushColor(color);
    m_renderer->drawAALineInternal(from, to);
    m_renderer->popColor();
}

void Painter::draw(qel::Image&& image, int left, int top, int scale, const Color& color) {
    const qel::Rect target = rectOf(left, top, image.getWidth() * scale, image.getHeight() * scale);
    const qel::SmartPointer<qel::Texture> texture = makeTexture(std::move(image), qel::Filter::Nearest);
    m_renderer->pushColor(color);
    m_renderer->drawTextureInternal(texture.get(), {0, 0, 1, 1}, target, 0);
    m_renderer->popColor();
}

qel::Image drawn(const qel::IVec2<int>& size, const Color& background,
                 const std::function<void(Painter&)>& paint) {
    const qel::SmartPointer<qel::Image> image(new qel::Image(qel::BGRA8, size));
    if (!*image) return {};
    {
        Painter painter(image.get(), background);
        paint(painter);
    }
    if (background.w == 1 && !convertToRgb(*image)) return {}; // drawing changes the alpha
    return std::move(*image);
}

} // namespace qelimage
