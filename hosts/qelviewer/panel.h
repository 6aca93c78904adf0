// Panel: the cards beside the panes.
#pragma once

#include <hosts/widgets/card.h>
#include <hosts/widgets/scroll.h>

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/rect.h>

#include <limits>
#include <vector>

namespace qelviewer {

/// Shows cards below each other. The wheel and drags scroll them if they need more room. They may appear one
/// by one, because it takes long to lay out the texts of all in new fonts.
/// @threads main thread.
class Panel : public qel::Object {
    QEL_CLASS(Panel, qel::Object)

public:
    /// Shows these cards from now on. @owner each must outlive its use.
    void setCards(std::vector<qelwidgets::Card*> cards);
    /// Lets the cards appear one by one in the next frames.
    void startOver() { m_known = 0; }
    /// Draws the cards.
    void draw(qel::Renderer& renderer, const qel::Rect& place, const qelwidgets::Look& look);
    /// Handles the touches of the last place.
    void handleTouches(qel::TouchState& touches);

private:
    std::vector<qelwidgets::Card*> m_cards;
    size_t m_known = std::numeric_limits<size_t>::max(); ///< the most cards that were drawn at once
    qel::Rect m_place;
    qelwidgets::Scroll m_scroll;
};

} // namespace qelviewer
