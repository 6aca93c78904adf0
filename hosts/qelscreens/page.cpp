#include "page.h"

#include <qel/render/renderer.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <cmath>

namespace qelscreens {

namespace {

constexpr float kLeastCardWidth = 11; // in heights of a button
constexpr int kMostColumns = 3;

} // namespace

qel::String Page::getTitle() const {
    return tr((std::string("screens-page-") + m_name).c_str());
}

void Page::restyle(const Look& look) {
    m_look = look;
    for (const auto& card : m_cards) card->restyle(look);
}

int Page::columnsFor(float width) const {
    const float least = kLeastCardWidth * m_look.buttonHeight + m_look.space;
    return least > 0 ? std::clamp(static_cast<int>(width / least), 1, kMostColumns) : 1;
}

/// Puts each card into the shortest column.
float Page::draw(qel::Renderer& renderer, const qel::Rect& place, float visibleHeight) {
    const float gap = m_look.space;
    const qel::Rect inner = inset(place, gap);
    const int columns = columnsFor(inner.getWidth());
    const float visibleBottom = inner.y0 + visibleHeight - 2 * gap;
    std::vector<float> bottoms(static_cast<size_t>(columns), inner.y0);
    for (const auto& card : m_cards) {
        auto column = std::min_element(bottoms.begin(), bottoms.end());
        if (card->isWide()) *column = *std::max_element(bottoms.begin(), bottoms.end());
        qel::Rect area = columnOf(inner, static_cast<int>(column - bottoms.begin()), columns, gap);
        if (card->isWide()) area = inner;
        area.y0 = *column;
        area.y1 = area.y0 + std::ceil(card->measure(area.getWidth()));
        if (card->isTall()) area.y1 = std::max(area.y1, visibleBottom);
        card->draw(renderer, area);
        if (card->isWide()) std::fill(bottoms.begin(), bottoms.end(), area.y1 + gap);
        *column = area.y1 + gap;
    }
    return *std::max_element(bottoms.begin(), bottoms.end()) - place.y0;
}

void Page::handleTouches(qel::TouchState& touches) {
    for (const auto& card : m_cards) card->handleTouches(touches);
}

bool Page::handleKey(const std::string&) {
    return false;
}

} // namespace qelscreens
