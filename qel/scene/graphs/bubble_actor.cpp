#include <qel/scene/graphs/bubble_actor.h>

#include <qel/render/renderer.h>
#include <qel/scene/actors/color_scope.h>

namespace qel {

BubbleActor::BubbleActor() {
    m_text.disableSmartPointers();
}

BubbleActor::~BubbleActor() = default;

BubbleActor& BubbleActor::setColor(const IVec4<float>& color) {
    m_color = color;
    return *this;
}

BubbleActor& BubbleActor::setPosition(const IVec2<float>& position) {
    m_position = position;
    return *this;
}

BubbleActor& BubbleActor::setInnerMargin(const IVec2<float>& marginPx) {
    m_innerMargin = marginPx;
    return *this;
}

BubbleActor& BubbleActor::setOuterMargin(const IVec2<float>& marginPx) {
    m_outerMargin = marginPx;
    return *this;
}

BubbleActor& BubbleActor::setTipSize(const IVec2<float>& sizePx) {
    m_tipSize = sizePx;
    return *this;
}

Rect BubbleActor::getBoundingBox() {
    const IVec2<float> text(m_text.getActualSize());
    const float width = text.x + 2 * (m_innerMargin.x + m_outerMargin.x);
    const float height = text.y + 2 * (m_innerMargin.y + m_outerMargin.y);
    const float left = m_position.x + (m_tipSize.x - width) / 2;
    const float top = m_position.y - (height + m_tipSize.y);
    return {left, top, left + width, top + height};
}

void BubbleActor::onRender(Renderer* renderer) {
    const Rect box = getBoundingBox();
    {
        const ColorScope color(*renderer, m_color);
        renderer->drawRectInternal(box);
        drawTip(*renderer);
    }
    const IVec2<float> margin(m_innerMargin.x + m_outerMargin.x, m_innerMargin.y + m_outerMargin.y);
    m_text.setBounds({box.x0 + margin.x, box.y0 + margin.y, box.x1 - margin.x, box.y1 - margin.y});
    m_text.setShadow(true);
    renderer->draw(&m_text);
}

/// Draws the tip, which leans to the left.
void BubbleActor::drawTip(Renderer& renderer) const {
    const float top = m_position.y - m_tipSize.y;
    renderer.drawTriangleInternal({m_position.x + m_tipSize.x * 0.5f, top},
                                  {m_position.x + m_tipSize.x * 0.2f, top}, m_position);
}

} // namespace qel
