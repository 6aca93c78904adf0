#include "help_overlay.h"

#include <hosts/widgets/card.h>

#include <qel/render/renderer.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <cmath>

namespace qelviewer {

namespace {

constexpr qelwidgets::Color kShade{0, 0, 0, 0.6f};
constexpr const char* kTexts[] = {"viewer-help-mouse", "viewer-help-keys"};

} // namespace

HelpOverlay::HelpOverlay() {
    for (qel::TextActor& column : m_columns) {
        column.disableSmartPointers();
        column.setParser(qel::TextActor::Parser::ControlCodes);
    }
}

void HelpOverlay::restyle(const qelwidgets::Look& look) {
    m_look = look;
    qel::Font* const font = qel::Object::system()->getTheme()->smallMediumFont();
    for (size_t i = 0; i < 2; ++i)
        qelwidgets::restyleText(m_columns[i], qel::Object::tr(kTexts[i]), font, look.text);
}

void HelpOverlay::draw(qel::Renderer& renderer, const qel::Rect& place) {
    if (!m_isOpen) return;
    qelwidgets::drawRect(renderer, place, kShade);
    const float gap = m_look.space * 2;
    const qel::Rect sheet = qelwidgets::inset(place, gap);
    qelwidgets::drawRect(renderer, sheet, m_look.card);
    qelwidgets::drawOutline(renderer, sheet, m_look.line, 1);
    const qel::Rect inner = qelwidgets::inset(sheet, gap);
    const bool fitsTwo = inner.getWidth() > 24 * m_look.buttonHeight;
    renderer.pushClip(sheet.roundNearestAsInt());
    float top = inner.y0;
    for (int i = 0; i < 2; ++i) {
        qel::Rect column = fitsTwo ? qelwidgets::columnOf(inner, i, 2, gap) : inner;
        column.y0 = top;
        const float height = qelwidgets::placeText(m_columns[i], column);
        renderer.draw(&m_columns[i]);
        if (!fitsTwo) top += height + gap;
    }
    renderer.popClip();
}

} // namespace qelviewer
