// TouchesPage: shows each touch and who owns it.
#pragma once

#include "hint_page.h"

namespace qel {
class TouchButton;
} // namespace qel

namespace qelscreens {

/// Two fields that claim the touches which begin in them. Other touches belong to the pages: they turn them.
class TouchesPage : public HintPage {
    QEL_CLASS(TouchesPage, HintPage)

public:
    TouchesPage();

    void restyle(const Look& look) override;
    float draw(qel::Renderer& renderer, const qel::Rect& place, float visibleHeight) override;
    void handleTouches(qel::TouchState& touches) override;

private:
    /// An owner of touches.
    class Field;

    void drawTouch(qel::Renderer& renderer, const qel::TouchButton& touch, float radius);
    Color colorOf(const qel::Object* owner) const;
    qel::String nameOf(const qel::Object* owner) const;

    qel::Vector<qel::SmartPointer<Field>> m_fields;
    qel::TextActor m_label;
};

} // namespace qelscreens
