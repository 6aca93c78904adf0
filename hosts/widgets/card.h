// Card: a panel of a page.
#pragma once

#include <hosts/widgets/look.h>

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/rect.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/scene/actors/rect_actor.h>
#include <qel/text/engine/text_actor.h>

#include <string>

namespace qel {
class Renderer;
class TouchState;
} // namespace qel

namespace qelwidgets {

/// A panel with a title. Its content is placed each time it is drawn, so that scrolling and resizing need
/// nothing else.
/// @threads main thread.
class Card : public qel::Object {
    QEL_CLASS(Card, qel::Object)

public:
    /// Creates a card. @param titleKey  the key of the translated title.
    explicit Card(const char* titleKey) : m_titleKey(titleKey) {}

    /// Takes over the language, the theme and the stylesheet.
    void restyle(const Look& look);
    /// Returns the height that the card needs for this width.
    float measure(float width);
    /// Draws the card. @param place  its width is that of the last measure().
    void draw(qel::Renderer& renderer, const qel::Rect& place);
    /// Looks at the touches, between the draw before and the next.
    virtual void handleTouches(qel::TouchState& touches);
    /// Returns true if the card does not share a row with others.
    virtual bool isWide() const { return false; }
    /// Returns true if the card wants the height of the window that is left.
    virtual bool isTall() const { return false; }

protected:
    /// Sets the texts and fonts of the content.
    virtual void restyleContent() = 0;
    /// Returns the height of the content for this width.
    virtual float measureContent(float width) = 0;
    /// Places and draws the content.
    virtual void drawContent(qel::Renderer& renderer, const qel::Rect& place) = 0;
    /// Returns the look of the last restyle().
    const Look& look() const { return m_look; }

private:
    const char* m_titleKey;
    Look m_look;
    qel::RectActor m_background;
    qel::TextActor m_title;
};

// --- helpers for what cards consist of ---------------------------------------------------------------------

/// Sets the text, font and colour of @p text, and reads it again, because control codes have named fonts of
/// the theme.
/// @param content  UTF-8; may be the text that it has.
void restyleText(qel::TextActor& text, const qel::String& content, qel::Font* font, const Color& color);
/// Sets the bounds of a text to the width of @p place from its top, wrapped. @return the height of the text.
float placeText(qel::TextActor& text, const qel::Rect& place);
/// Returns the height of a text that is wrapped at @p width.
float measureText(qel::TextActor& text, float width);
/// Draws a filled rectangle.
void drawRect(qel::Renderer& renderer, const qel::Rect& place, const Color& color);
/// Draws the outline of a rectangle. @param thickness  in pixels.
void drawOutline(qel::Renderer& renderer, const qel::Rect& place, const Color& color, float thickness);
/// Returns @p place without a margin on all sides.
qel::Rect inset(const qel::Rect& place, float margin);
/// Returns true if @p point lies in @p place.
bool contains(const qel::Rect& place, const qel::IVec2<float>& point);
/// Divides @p place into @p count columns with a gap. @return column @p index.
qel::Rect columnOf(const qel::Rect& place, int index, int count, float gap);

} // namespace qelwidgets
