// Page: one of the pages that can be turned.
#pragma once

#include "widgets.h"

#include <qel/foundation/base/containers.h>

namespace qelscreens {

/// A page of cards in columns. Pages that scroll are moved by their owner.
/// @threads main thread.
class Page : public qel::Object {
    QEL_CLASS(Page, qel::Object)

public:
    /// Creates a page. @param name  part of file names and of the key of the title, "screens-page-" and it.
    explicit Page(const char* name) : m_name(name) {}

    /// Returns the name of the page, such as "text".
    const char* getName() const { return m_name; }
    /// Returns the translated title.
    virtual qel::String getTitle() const;
    /// Takes over the language, the theme and the stylesheet.
    virtual void restyle(const Look& look);
    /// Draws the page. @param place the place between the bars; its top is above them if the page is
    /// scrolled.
    /// @param visibleHeight  the height of the place that shows pages.
    /// @return the height that the page needs.
    virtual float draw(qel::Renderer& renderer, const qel::Rect& place, float visibleHeight);
    /// Looks at the touches before those that nobody claims turn pages.
    virtual void handleTouches(qel::TouchState& touches);
    /// Handles a key. @return true if it has a meaning on this page.
    virtual bool handleKey(const std::string& key);
    /// Returns true while work runs in the background whose end must be noticed soon.
    virtual bool isWorking() const { return false; }

protected:
    /// Adds a card below the others.
    template <class CardType>
    CardType& add(CardType* card) {
        m_cards.push_back(card);
        return *card;
    }
    /// Returns the look of the last restyle().
    const Look& look() const { return m_look; }

private:
    int columnsFor(float width) const;

    const char* m_name;
    Look m_look;
    qel::Vector<qel::SmartPointer<Card>> m_cards;
};

} // namespace qelscreens
