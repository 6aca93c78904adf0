#include "hint_page.h"

#include <qel/render/renderer.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

namespace qelscreens {

HintPage::HintPage(const char* name, const char* hintKey) : Page(name), m_hintKey(hintKey) {
    m_hint.setHorizontalAlign(qel::TextAlign::Center);
}

void HintPage::restyle(const Look& look) {
    Page::restyle(look);
    restyleText(m_hint, tr(m_hintKey), system()->getTheme()->smallMediumFont(), look.faintText);
}

void HintPage::drawHint(qel::Renderer& renderer, const qel::Rect& place) {
    placeText(m_hint, place);
    renderer.draw(&m_hint);
}

} // namespace qelscreens
