#include "help_overlay.h"

#include <hosts/widgets/card.h>
#include <hosts/window/pointers.h>

#include <qel/render/renderer.h>
#include <qel/scene/actors/touch_state.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace qelviewer {

namespace {

constexpr qelwidgets::Color kShade{0, 0, 0, 0.6f};
constexpr const char* kTexts[] = {"viewer-help-mouse", "viewer-help-keys"};
constexpr float kInputShare = 0.34f; // of the width of a table
constexpr float kLeastWidth = 22;    // of two tables, in heights of a button
constexpr float kUnlimited = 1e6f;
constexpr float kKeyPixels = 48;
constexpr float kTapPixels = 8; // the longest way of a tap

qel::SmartPointer<qel::TextActor> makeText(std::string_view content, qel::Font* font,
                                           const qelwidgets::Color& color) {
    qel::SmartPointer<qel::TextActor> text(new qel::TextActor());
    qelwidgets::restyleText(*text, qel::String(content), font, color);
    return text;
}

} // namespace

void HelpOverlay::restyle(const qelwidgets::Look& look) {
    m_look = look;
    for (size_t i = 0; i < std::size(kTexts); ++i) {
        m_tables[i].clear();
        std::string_view lines = qel::Object::tr(kTexts[i]);
        while (!lines.empty()) {
            const size_t end = std::min(lines.find('\n'), lines.size());
            addRow(m_tables[i], lines.substr(0, end));
            lines.remove_prefix(std::min(end + 1, lines.size()));
        }
    }
}

void HelpOverlay::addRow(Rows& rows, std::string_view line) const {
    const qel::Theme& theme = *qel::Object::system()->getTheme();
    const size_t bar = line.find('|');
    if (bar == line.npos) {
        rows.push_back({makeText(line, theme.mediumFont(qel::FontStyle::Bold), m_look.accent), nullptr});
        return;
    }
    qel::Font* const font = theme.smallMediumFont();
    rows.push_back({makeText(line.substr(0, bar), font, m_look.faintText),
                    makeText(line.substr(bar + 1), font, m_look.text)});
}

void HelpOverlay::toggle() {
    m_isOpen = !m_isOpen;
    m_scroll.reset();
}

// --- drawing -----------------------------------------------------------------------------------------------

void HelpOverlay::draw(qel::Renderer& renderer, const qel::Rect& place) {
    if (!m_isOpen) return;
    qelwidgets::drawRect(renderer, place, kShade);
    qel::Rect sheet = qelwidgets::inset(place, m_look.space * 2);
    const float gap = m_look.space * 3;
    qel::Rect inner = qelwidgets::inset(sheet, gap);
    inner.y0 -= m_scroll.getPosition();
    const float height = placeTables(inner) - inner.y0 + 2 * gap;
    sheet.y1 = std::min(sheet.y1, std::ceil(sheet.y0 + height));
    m_scroll.setExtent(sheet, height);
    m_pageHeight = sheet.getHeight() - gap;
    qelwidgets::drawRect(renderer, sheet, m_look.card);
    renderer.pushClip(sheet.roundNearestAsInt());
    for (const Rows& rows : m_tables) {
        for (const auto& [input, effect] : rows) {
            renderer.draw(input.get());
            if (effect) renderer.draw(effect.get());
        }
    }
    m_scroll.drawBar(renderer, m_look);
    renderer.popClip();
    qelwidgets::drawOutline(renderer, sheet, m_look.line, 1);
}

/// Places the tables beside each other, or below each other if @p place is narrow. @return their lower end.
float HelpOverlay::placeTables(const qel::Rect& place) const {
    if (place.getWidth() < kLeastWidth * m_look.buttonHeight) {
        qel::Rect rest = place;
        rest.y0 = placeRows(m_tables[0], place) + m_look.space;
        return placeRows(m_tables[1], rest);
    }
    const float gap = m_look.space * 3;
    return std::max(placeRows(m_tables[0], qelwidgets::columnOf(place, 0, 2, gap)),
                    placeRows(m_tables[1], qelwidgets::columnOf(place, 1, 2, gap)));
}

/// @return the lower end of the table.
float HelpOverlay::placeRows(const Rows& rows, const qel::Rect& place) const {
    const float space = std::floor(m_look.space / 2);
    const float middle = std::floor(place.x0 + place.getWidth() * kInputShare);
    float top = std::round(place.y0);
    for (const auto& [input, effect] : rows) {
        if (!effect && &input != &rows.front().input) top += 2 * space;
        const float right = effect ? middle - space : place.x1;
        float height = qelwidgets::placeText(*input, {place.x0, top, right, top + kUnlimited});
        if (effect)
            height =
                std::max(height, qelwidgets::placeText(*effect, {middle, top, place.x1, top + kUnlimited}));
        top += height + space;
    }
    return top;
}

// --- input -------------------------------------------------------------------------------------------------

void HelpOverlay::handleTouches(qel::TouchState& touches) {
    if (qel::TouchButton* const wheel = touches.acquireBegin(this, qelwindow::kTouchWheel))
        m_scroll.turnWheel(wheel->takeValue());
    if (touches.acquireBegin(this, qelwindow::kTouchPress)) m_dragged = 0;
    while (const qel::TouchButton* const touch = touches.iterateOwned(this)) {
        if ((touch->getFlags() & qelwindow::kTouchPress) == 0) continue;
        m_scroll.follow(*touch);
        if (!touch->isEnd())
            m_dragged += std::abs(touch->getPosition().y - touch->getPreviousPosition().y);
        else if (m_dragged < kTapPixels)
            m_isOpen = false;
    }
}

void HelpOverlay::handleKey(const std::string& key) {
    const std::pair<const char*, float> steps[] = {
        {"up", -kKeyPixels}, {"down", kKeyPixels}, {"pageup", -m_pageHeight}, {"pagedown", m_pageHeight}};
    for (const auto& [name, pixels] : steps)
        if (m_scroll.isNeeded() && key == name) return m_scroll.moveBy(pixels);
    m_isOpen = false;
}

} // namespace qelviewer
