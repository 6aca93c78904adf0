// BubbleActorV2: a text on a background with a border.
#pragma once

#include <qel/foundation/base/rect.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/platform/api.h>
#include <qel/scene/actors/actor.h>
#include <qel/scene/actors/rect_actor.h>
#include <qel/text/engine/text_actor.h>

namespace qel {

/// A text that is wrapped to the width of a box, on a picture whose border keeps its size. Setters return the
/// actor.
/// @threads main thread; System must exist.
class QEL_API BubbleActorV2 : public Actor {
    QEL_CLASS(BubbleActorV2, Actor)

public:
    /// Takes the margin and the size of the border from the theme, and the resource
    /// "border-white-filled.webp" as the background.
    BubbleActorV2();
    ~BubbleActorV2() override;

    void onRender(Renderer* renderer) override;

    /// Sets the rectangle of the background in pixels of the target.
    BubbleActorV2& setTextBox(const Rect& box);
    /// Returns the rectangle of the background.
    const Rect& getTextBox() const { return m_textBox; }
    /// Stores the rectangle that the text is about. It is not drawn.
    BubbleActorV2& setHighlightBox(const Rect& box);
    /// Returns the rectangle that the text is about.
    const Rect& getHighlightBox() const { return m_highlightBox; }
    /// Sets the width of the box that is not used by the text in pixels, half of it on each side.
    BubbleActorV2& setMargin(float marginPx);
    /// Returns the width that is not used by the text.
    float getMargin() const { return m_margin; }
    /// Returns the background, whose bounds are set when the bubble is drawn.
    RectActor* getBackground() const { return m_background.get(); }
    /// Returns the text, whose bounds are set when the bubble is drawn.
    TextActor* getTextActor() const { return m_text.get(); }

private:
    SmartPointer<TextActor> m_text;
    SmartPointer<RectActor> m_background;
    Rect m_highlightBox;
    Rect m_textBox;
    float m_margin;
};

} // namespace qel
