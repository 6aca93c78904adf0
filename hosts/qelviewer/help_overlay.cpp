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
constexpr float kInputShare = 0.34f; // of the width of a table
constexpr float kLeastWidth = 22;    // of two tables, in heights of a button

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

void HelpOverlay::draw(qel::Renderer& renderer, const qel::Rect& place) {
    if (!m_isOpen) return;
    qelwidgets::drawRect(renderer, place, kShade);
    const qel::Rect sheet = qelwidgets::inset(place, m_look.space * 2);
    qelwidgets::drawRect(renderer, sheet, m_look.card);
    qelwidgets::drawOutline(renderer, sheet, m_look.line, 1);
    const float gap = m_look.space * 3;
    qel::Rect inner = qelwidgets::inset(sheet, gap);
    const bool fitsTwo = inner.getWidth() >= kLeastWidth * m_look.buttonHeight;
    renderer.pushClip(sheet.roundNearestAsInt());
    for (int i = 0; i < 2; ++i) {
        const float bottom =
            drawRows(renderer, m_tables[i], fitsTwo ? qelwidgets::columnOf(inner, i, 2, gap) : inner);
        if (!fitsTwo) inner.y0 = bottom;
    }
    renderer.popClip();
}

/// @return the lower end of the table.
float HelpOverlay::drawRows(qel::Renderer& renderer, const Rows& rows, const qel::Rect& place) const {
    const float space = std::floor(m_look.space / 2);
    const float middle = std::floor(place.x0 + place.getWidth() * kInputShare);
    float top = place.y0;
    for (const auto& [input, effect] : rows) {
        if (!effect && top > place.y0) top += 2 * space;
        const float right = effect ? middle - space : place.x1;
        float height = qelwidgets::placeText(*input, {place.x0, top, right, place.y1});
        renderer.draw(input.get());
        if (effect) {
            height = std::max(height, qelwidgets::placeText(*effect, {middle, top, place.x1, place.y1}));
            renderer.draw(effect.get());
        }
        top += height + space;
    }
    return top;
}

} // namespace qelviewer
