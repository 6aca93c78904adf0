#include "touches_page.h"

#include <hosts/window/pointers.h>

#include <qel/render/renderer.h>
#include <qel/scene/actors/touch_state.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <cmath>

namespace qelscreens {

namespace {

constexpr qel::uint32 kShown = qelwindow::kTouchPress | qelwindow::kTouchHover;
constexpr int kCorners = 48; // of a circle
constexpr float kPi = 3.14159265f;
constexpr int kCount = 2;
constexpr const char* kNameKeys[kCount] = {"screens-touches-left", "screens-touches-right"};
constexpr Color kColors[kCount] = {{0.98f, 0.78f, 0.23f, 1}, {0.36f, 0.68f, 0.86f, 1}};

const char* kindKeyOf(qel::uint32 flags) {
    if ((flags & qelwindow::kTouchFinger) != 0) return "screens-touch-finger";
    if ((flags & qelwindow::kTouchLeftButton) != 0) return "screens-touch-left-button";
    if ((flags & qelwindow::kTouchRightButton) != 0) return "screens-touch-right-button";
    if ((flags & qelwindow::kTouchMiddleButton) != 0) return "screens-touch-middle-button";
    return "screens-touch-hover";
}

void drawCircle(qel::Renderer& renderer, const qel::IVec2<float>& centre, float radius, const Color& color) {
    qel::IVec2<float> corners[kCorners];
    for (int i = 0; i < kCorners; ++i) {
        const float angle = 2 * kPi * static_cast<float>(i) / kCorners;
        corners[i] = {centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle)};
    }
    renderer.pushColor(color);
    renderer.drawFilledPolygonInternal(kCorners, corners);
    renderer.popColor();
}

} // namespace

class TouchesPage::Field : public qel::Object {
    QEL_CLASS(Field, qel::Object)

public:
    Field(const char* nameKey, const Color& color) : m_nameKey(nameKey), m_color(color) {
        m_name.setHorizontalAlign(qel::TextAlign::Center);
    }

    void restyle(const Look& look) {
        m_look = look;
        m_name.setText(tr(m_nameKey));
        m_name.setFont(system()->getTheme()->mediumLargeFont(qel::FontStyle::Bold));
        m_name.setColor(m_color);
    }
    void draw(qel::Renderer& renderer, const qel::Rect& place) {
        m_place = place;
        const bool isTouched = system()->getTouchState()->getFirstOwned(this) != nullptr;
        drawRect(renderer, place, m_look.card);
        drawOutline(renderer, place, isTouched ? m_color : m_look.line, isTouched ? 3.0f : 1.0f);
        m_name.setBounds(inset(place, m_look.space));
        renderer.draw(&m_name);
    }
    void handleTouches(qel::TouchState& touches) {
        while (touches.acquireBegin(this, m_place, kShown)) {
        }
    }
    const Color& getColor() const { return m_color; }
    qel::String getName() const { return tr(m_nameKey); }

private:
    const char* m_nameKey;
    Color m_color;
    Look m_look;
    qel::Rect m_place;
    qel::TextActor m_name;
};

TouchesPage::TouchesPage() : HintPage("touches", "screens-touches-hint") {
    for (int i = 0; i < kCount; ++i) m_fields.push_back(new Field(kNameKeys[i], kColors[i]));
    m_label.setHorizontalAlign(qel::TextAlign::Center);
    m_label.setParser(qel::TextActor::Parser::ControlCodes);
    m_label.setShadow(true);
}

void TouchesPage::restyle(const Look& look) {
    HintPage::restyle(look);
    for (const auto& field : m_fields) field->restyle(look);
    m_label.setFont(system()->getTheme()->smallFont());
    m_label.setColor(look.text);
}

float TouchesPage::draw(qel::Renderer& renderer, const qel::Rect& place, float visibleHeight) {
    const float space = look().space;
    qel::Rect inner = inset({place.x0, place.y0, place.x1, place.y0 + visibleHeight}, space);
    const float hintHeight = measureHint(inner.getWidth());
    const qel::Rect fields(inner.x0, inner.y0, inner.x1, inner.y1 - hintHeight - 2 * look().buttonHeight);
    for (int i = 0; i < kCount; ++i)
        m_fields[static_cast<size_t>(i)]->draw(renderer, columnOf(fields, i, kCount, space));
    drawHint(renderer, {inner.x0, fields.y1 + look().buttonHeight, inner.x1, inner.y1});
    for (const auto& touch : system()->getTouchState()->getAllTouches())
        if ((touch->getFlags() & kShown) != 0) drawTouch(renderer, *touch, look().buttonHeight);
    return visibleHeight;
}

void TouchesPage::drawTouch(qel::Renderer& renderer, const qel::TouchButton& touch, float radius) {
    const bool isHover = (touch.getFlags() & qelwindow::kTouchHover) != 0;
    const Color color = colorOf(touch.getOwner());
    const qel::IVec2<float>& at = touch.getPosition();
    drawCircle(renderer, at, isHover ? radius * 0.3f : radius, {color.x, color.y, color.z, 0.35f});
    drawCircle(renderer, at, radius * 0.15f, color);
    if (!isHover) {
        renderer.pushColor(color);
        renderer.drawAALineInternal(touch.getBeginPosition(), at);
        renderer.popColor();
    }
    qel::String label = qel::String(tr(kindKeyOf(touch.getFlags()))) + "{eol}" + nameOf(touch.getOwner());
    if (touch.getTapCount() > 1) label += " ×" + std::to_string(touch.getTapCount());
    m_label.setText(label);
    m_label.setBounds(
        {at.x - 4 * radius, at.y + radius + look().space / 2, at.x + 4 * radius, at.y + 4 * radius});
    renderer.draw(&m_label);
}

void TouchesPage::handleTouches(qel::TouchState& touches) {
    for (const auto& field : m_fields) field->handleTouches(touches);
}

Color TouchesPage::colorOf(const qel::Object* owner) const {
    for (const auto& field : m_fields)
        if (field.get() == owner) return field->getColor();
    return look().text;
}

qel::String TouchesPage::nameOf(const qel::Object* owner) const {
    for (const auto& field : m_fields)
        if (field.get() == owner) return field->getName();
    return owner ? tr("screens-touches-pages") : tr("screens-touches-nobody");
}

} // namespace qelscreens
