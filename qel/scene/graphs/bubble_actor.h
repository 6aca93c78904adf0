// BubbleActor: a speech bubble that points at a place.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/rect.h>
#include <qel/platform/api.h>
#include <qel/scene/actors/actor.h>
#include <qel/text/engine/text_actor.h>

namespace qel {

/// A box as large as its text, with a tip that points down at a position. Setters return the actor.
/// @threads main thread; System must exist.
class QEL_API BubbleActor : public Actor {
    QEL_CLASS(BubbleActor, Actor)

public:
    BubbleActor();
    ~BubbleActor() override;

    void onRender(Renderer* renderer) override;

    /// Returns the text, whose bounds and shadow the bubble sets when it is drawn.
    TextActor& getTextActor() { return m_text; }
    /// Sets the colour of box and tip; white initially.
    BubbleActor& setColor(const IVec4<float>& color);
    /// Returns the colour of box and tip.
    const IVec4<float>& getColor() const { return m_color; }
    /// Sets the point of the tip in pixels of the target.
    BubbleActor& setPosition(const IVec2<float>& position);
    /// Returns the point of the tip.
    const IVec2<float>& getPosition() const { return m_position; }
    /// Sets the space next to the text across and down in pixels; 32 initially.
    BubbleActor& setInnerMargin(const IVec2<float>& marginPx);
    /// Returns the space next to the text.
    const IVec2<float>& getInnerMargin() const { return m_innerMargin; }
    /// Sets the space around that in pixels; 8 initially.
    BubbleActor& setOuterMargin(const IVec2<float>& marginPx);
    /// Returns the space around the inner margin.
    const IVec2<float>& getOuterMargin() const { return m_outerMargin; }
    /// Sets the width and height of the tip in pixels; 32 initially.
    BubbleActor& setTipSize(const IVec2<float>& sizePx);
    /// Returns the width and height of the tip.
    const IVec2<float>& getTipSize() const { return m_tipSize; }
    /// Returns the box without the tip in pixels of the target. Brings the text up to date.
    Rect getBoundingBox();

private:
    void drawTip(Renderer& renderer) const;

    TextActor m_text;
    IVec4<float> m_color{1, 1, 1, 1};
    IVec2<float> m_innerMargin{32, 32};
    IVec2<float> m_outerMargin{8, 8};
    IVec2<float> m_position;
    IVec2<float> m_tipSize{32, 32};
};

} // namespace qel
