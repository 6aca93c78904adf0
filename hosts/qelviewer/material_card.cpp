#include "material_picture.h"
#include "panel_cards.h"

#include <qel/render/renderer.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <cmath>
#include <utility>

namespace qelviewer {

namespace {

constexpr qel::IVec2<int> kPictureSize{160, 24};
constexpr float kGap = 2;

} // namespace

MaterialCard::MaterialCard(ViewState& state, MaterialList& materials, std::function<void(size_t)> chosen)
    : Card("viewer-card-material"), m_state(state), m_materials(materials), m_chosen(std::move(chosen)) {
    for (size_t i = 0; i < materials.size(); ++i)
        m_buttons.push_back(new qelwidgets::Button([this, i](qel::uint32) { m_chosen(i); }));
}

void MaterialCard::restyleContent() {
    qel::Font* const font = system()->getTheme()->smallMediumFont();
    for (size_t i = 0; i < m_buttons.size(); ++i) {
        m_buttons[i]->setAlign(qel::TextAlign::Start);
        m_buttons[i]->restyle(look(), m_materials.getTitle(i), font);
    }
}

float MaterialCard::measureContent(float) {
    return static_cast<float>(m_buttons.size()) * (look().buttonHeight * 0.75f + kGap);
}

void MaterialCard::updatePictures(qel::Renderer& renderer) {
    if (m_pictures.size() == m_buttons.size()) return;
    m_pictures.clear();
    for (size_t i = 0; i < m_buttons.size(); ++i) {
        const auto& texture = m_pictures.emplace_back(renderer.createTexture());
        texture->upload(materialPicture(m_materials[i], kPictureSize), false);
    }
}

void MaterialCard::drawContent(qel::Renderer& renderer, const qel::Rect& place) {
    updatePictures(renderer);
    const float height = look().buttonHeight * 0.75f;
    for (size_t i = 0; i < m_buttons.size(); ++i) {
        const float top = place.y0 + static_cast<float>(i) * (height + kGap);
        const float middle = std::floor(place.x0 + place.getWidth() * 0.55f);
        m_buttons[i]->setSelected(i == m_state.material);
        m_buttons[i]->draw(renderer, {place.x0, top, middle - kGap, top + height});
        renderer.drawTextureInternal(m_pictures[i].get(), {0, 0, 1, 1}, {middle, top, place.x1, top + height},
                                     0);
    }
}

void MaterialCard::handleTouches(qel::TouchState& touches) {
    for (const auto& button : m_buttons) button->handleTouches(touches);
}

} // namespace qelviewer
