// Panel: the cards beside the panes.
#pragma once

#include <hosts/widgets/card.h>
#include <hosts/widgets/scroll.h>

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/rect.h>

#include <vector>

namespace qelviewer {

/// Shows cards below each other. The wheel and drags scroll them if they need more room.
/// @threads main thread.
class Panel : public qel::Object {
    QEL_CLASS(Panel, qel::Object)

public:
    /// Shows these cards from now on. @owner each must outlive its use.
    void setCards(std::vector<qelwidgets::Card*> cards);
    /// Draws the cards.
    void draw(qel::Renderer& renderer, const qel::Rect& place, const qelwidgets::Look& look);
    /// Handles the touches of the last place.
    void handleTouches(qel::TouchState& touches);

private:
    std::vector<qelwidgets::Card*> m_cards;
    qel::Rect m_place;
    qelwidgets::Scroll m_scroll;
};

} // namespace qelviewer
