#include <qel/scene/graphs/bubble_actor_v2.h>

#include <qel/render/renderer.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

namespace qel {

BubbleActorV2::BubbleActorV2()
    : m_text(new TextActor),
      m_background(new RectActor),
      m_margin(static_cast<float>(system()->getTheme()->buttonSpacing())) {
    const auto size = static_cast<float>(system()->getTheme()->buttonSize());
    m_text->setWordWrap(-1);
    m_background->setSprite("border-white-filled.webp");
    m_background->setExtendMethod(ExtendMethod::NineParts).setFixedSize({size, size});
}

BubbleActorV2::~BubbleActorV2() = default;

BubbleActorV2& BubbleActorV2::setTextBox(const Rect& box) {
    m_textBox = box;
    return *this;
}

BubbleActorV2& BubbleActorV2::setHighlightBox(const Rect& box) {
    m_highlightBox = box;
    return *this;
}

BubbleActorV2& BubbleActorV2::setMargin(float marginPx) {
    m_margin = marginPx;
    return *this;
}

void BubbleActorV2::onRender(Renderer* renderer) {
    m_text->getActualSize();
    m_background->setBounds(m_textBox);
    renderer->draw(m_background.get());
    const float side = m_margin / 2;
    m_text->setBounds({m_textBox.x0 + side, m_textBox.y0 + side, m_textBox.x1 - side, m_textBox.y1 - side});
    renderer->draw(m_text.get());
}

} // namespace qel
