#include "figure_card.h"

#include <qel/render/renderer.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <cmath>
#include <utility>

namespace qelscreens {

FigureCard& FigureCard::add(const char* captionKey, SetUp setUp) {
    Figure figure{captionKey, std::move(setUp), new qel::RectActor(), new qel::TextActor()};
    figure.caption->setHorizontalAlign(qel::TextAlign::Center);
    m_figures.push_back(std::move(figure));
    return *this;
}

void FigureCard::restyleContent() {
    for (Figure& figure : m_figures) {
        restyleText(*figure.caption, tr(figure.captionKey), system()->getTheme()->smallFont(),
                    look().faintText);
        figure.setUp(*figure.actor, look());
    }
}

float FigureCard::figureHeight(float width) const {
    return std::round(columnOf({0, 0, width, 1}, 0, m_columns, look().space).getWidth() * m_ratio);
}

float FigureCard::captionHeight() const {
    const qel::Font* const font = system()->getTheme()->smallFont();
    return static_cast<float>(font ? font->getLineHeight() : 0) + look().space;
}

float FigureCard::measureContent(float width) {
    const int rows = (static_cast<int>(m_figures.size()) + m_columns - 1) / m_columns;
    return static_cast<float>(rows) * (figureHeight(width) + captionHeight());
}

void FigureCard::drawContent(qel::Renderer& renderer, const qel::Rect& place) {
    const float height = figureHeight(place.getWidth());
    for (size_t i = 0; i < m_figures.size(); ++i) {
        const int index = static_cast<int>(i);
        qel::Rect cell = columnOf(place, index % m_columns, m_columns, look().space);
        const int row = index / m_columns;
        cell.y0 += static_cast<float>(row) * (height + captionHeight());
        cell.y1 = cell.y0 + height;
        drawRect(renderer, cell, look().field);
        Figure& figure = m_figures[i];
        figure.actor->setBounds(inset(cell, std::round(look().space / 2)));
        renderer.pushClip(cell.roundNearestAsInt());
        renderer.draw(figure.actor.get());
        renderer.popClip();
        figure.caption->setBounds({cell.x0, cell.y1, cell.x1, cell.y1 + captionHeight()});
        figure.caption->setVerticalAlign(qel::TextAlign::Start);
        renderer.draw(figure.caption.get());
    }
}

} // namespace qelscreens
