#include <hosts/widgets/card.h>

#include <qel/render/renderer.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <cmath>

namespace qelwidgets {

namespace {

constexpr float kUnlimited = 1e6f;

} // namespace

void Card::restyle(const Look& look) {
    m_look = look;
    m_background.setColor(look.card);
    m_title.setFontStyle(qel::FontStyle::Bold);
    restyleText(m_title, tr(m_titleKey), system()->getTheme()->mediumLargeFont(), look.accent);
    restyleContent();
}

void Card::handleTouches(qel::TouchState&) {}

float Card::measure(float width) {
    const float inner = width - 2 * m_look.space;
    return measureText(m_title, inner) + measureContent(inner) + 3 * m_look.space;
}

void Card::draw(qel::Renderer& renderer, const qel::Rect& place) {
    m_background.setBounds(place);
    renderer.draw(&m_background);
    qel::Rect inner = inset(place, m_look.space);
    inner.y0 += placeText(m_title, inner) + m_look.space;
    renderer.draw(&m_title);
    drawContent(renderer, inner);
}

void restyleText(qel::TextActor& text, const qel::String& content, qel::Font* font, const Color& color) {
    text.unload();
    text.setText(content);
    text.setFont(font);
    text.setColor(color);
}

float measureText(qel::TextActor& text, float width) {
    return placeText(text, {0, 0, width, kUnlimited});
}

float placeText(qel::TextActor& text, const qel::Rect& place) {
    text.setWordWrap(std::max(1, static_cast<int>(place.getWidth())));
    text.setBounds(place);
    return static_cast<float>(text.getActualSize().y);
}

void drawRect(qel::Renderer& renderer, const qel::Rect& place, const Color& color) {
    renderer.pushColor(color);
    renderer.drawRectInternal(place);
    renderer.popColor();
}

void drawOutline(qel::Renderer& renderer, const qel::Rect& place, const Color& color, float thickness) {
    drawRect(renderer, {place.x0, place.y0, place.x1, place.y0 + thickness}, color);
    drawRect(renderer, {place.x0, place.y1 - thickness, place.x1, place.y1}, color);
    drawRect(renderer, {place.x0, place.y0 + thickness, place.x0 + thickness, place.y1 - thickness}, color);
    drawRect(renderer, {place.x1 - thickness, place.y0 + thickness, place.x1, place.y1 - thickness}, color);
}

qel::Rect inset(const qel::Rect& place, float margin) {
    return {place.x0 + margin, place.y0 + margin, place.x1 - margin, place.y1 - margin};
}

bool contains(const qel::Rect& place, const qel::IVec2<float>& point) {
    return point.x >= place.x0 && point.x < place.x1 && point.y >= place.y0 && point.y < place.y1;
}

qel::Rect columnOf(const qel::Rect& place, int index, int count, float gap) {
    const float width = (place.getWidth() - gap * static_cast<float>(count - 1)) / static_cast<float>(count);
    const float left = std::round(place.x0 + static_cast<float>(index) * (width + gap));
    return {left, place.y0, std::round(left + width), place.y1};
}

} // namespace qelwidgets
