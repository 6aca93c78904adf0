// RectActor: a rectangle that shows a colour, a sprite or a texture.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/rect.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>
#include <qel/render/sprite.h>
#include <qel/render/texture.h>
#include <qel/scene/actors/actor.h>
#include <qel/system/core/host_types.h>

#include <array>

namespace qel {

class AnimColor;

namespace internal {
struct PlacedPicture;
}

/// How a picture is fitted into the bounds of a RectActor.
enum class ScaleMethod : int {
    Stretch = 0,     ///< fills the bounds
    FitInside = 1,   ///< keeps the aspect, all of the picture is inside
    Cover = 2,       ///< keeps the aspect, all of the bounds are covered
    FixedWidth = 3,  ///< keeps the aspect at a fixed width
    FixedHeight = 4, ///< keeps the aspect at a fixed height
    FixedSize = 5,   ///< has a fixed size
};

/// Where a picture is placed along an axis of the bounds. Any other value means Start.
enum class Align : int {
    VariableFromEnd = -2, ///< at a given part of the free space, measured from the end
    Start = -1,           ///< left or top
    Center = 0,           ///< in the middle
    End = 1,              ///< right or bottom
    Variable = 2,         ///< at a given part of the free space
};

/// Which parts of a picture keep their size while the others are stretched to the bounds.
enum class ExtendMethod : int {
    None = 0,        ///< the picture is scaled as a whole
    ThreeAcross = 1, ///< the left and right quarters keep their size
    ThreeDown = 2,   ///< the top and bottom quarters keep their size
    NineParts = 3,   ///< the corners keep their size
};

/// A rectangle that shows a colour, a sprite or a texture, fitted into its bounds.
///
/// The colour multiplies the picture, and so does an AnimColor. Setters return the actor.
/// @threads main thread; System must exist.
class QEL_API RectActor : public Actor {
    QEL_CLASS(RectActor, Actor)

public:
    /// Bits of setExtendCut(): outer parts that are left out.
    enum ExtendCut : uint32 {
        kCutTop = 1,    ///< the top row
        kCutBottom = 2, ///< the bottom row
        kCutLeft = 4,   ///< the left column
        kCutRight = 8,  ///< the right column
    };

    RectActor();
    ~RectActor() override;

    void onRender(Renderer* renderer) override;

    /// Shows @p sprite; null for none.
    RectActor& setSprite(const SmartPointer<Sprite>& sprite);
    /// Shows @p sprite; null for none.
    RectActor& setSprite(Sprite* sprite);
    /// Shows the sprite of the resource @p name, from System::getSprite(); a null or empty name for none.
    RectActor& setSprite(SmartCStr name);
    /// Returns the sprite, or null.
    Sprite* getSprite() const { return m_sprite.get(); }
    /// Shows @p texture if there is no sprite; null for none.
    RectActor& setTexture(Texture* texture);
    /// Returns the texture, or null.
    Texture* getTexture() const { return m_texture.get(); }
    /// Sets the colour, which multiplies the picture; white initially.
    RectActor& setColor(const IVec4<float>& color);
    /// Returns the colour.
    const IVec4<float>& getColor() const { return m_color; }
    /// Multiplies the colour by an animated one; null for none. @owner the caller; it must outlive its use.
    RectActor& setAnimColor(AnimColor* color);
    /// Returns the animated colour, or null.
    AnimColor* getAnimColor() const { return m_animColor; }
    /// Sets the colours of the corners left top, left bottom, right bottom and right top, and uses them.
    RectActor& setCornerColors(const IVec4<float>& leftTop, const IVec4<float>& leftBottom,
                               const IVec4<float>& rightBottom, const IVec4<float>& rightTop);
    /// Uses the colours of the corners, or stops using them.
    RectActor& setColoredCorners(bool colored);
    /// Returns true if the colours of the corners are used.
    bool hasColoredCorners() const { return m_coloredCorners; }
    /// Sets the rectangle in pixels of the target. Nothing is drawn in empty bounds.
    RectActor& setBounds(const Rect& bounds);
    /// Returns the rectangle.
    const Rect& getBounds() const { return m_bounds; }
    /// Sets the part of the picture that is shown, in texture coordinates; (0, 0, 1, 1) initially.
    RectActor& setSourceBounds(const Rect& bounds);
    /// Returns the part of the picture that is shown.
    const Rect& getSourceBounds() const { return m_sourceBounds; }
    /// Rounds the drawn rectangle to whole pixels; true initially.
    RectActor& setPixelExact(bool exact);
    /// Returns true if the drawn rectangle is rounded to whole pixels.
    bool isPixelExact() const { return m_pixelExact; }
    /// Draws a dark shadow below, Theme::dotSize() to the right and down.
    RectActor& setShadow(bool shadow);
    /// Returns true if a shadow is drawn.
    bool hasShadow() const { return m_shadow; }
    /// Draws only the border of a rectangle without a picture.
    RectActor& setOutline(bool outline);
    /// Returns true if only the border is drawn.
    bool hasOutline() const { return m_outline; }
    /// Sets the thickness of the border in pixels; 1 initially.
    RectActor& setOutlineSize(float sizePx);
    /// Returns the thickness of the border in pixels.
    float getOutlineSize() const { return m_outlineSize; }
    /// Lets a sprite load in one of the next passes instead of during drawing; it then fades in.
    RectActor& setLazyLoad(bool lazy);
    /// Returns true if the sprite loads in one of the next passes.
    bool isLazyLoad() const { return m_lazyLoad; }
    /// Sets how the picture is fitted.
    RectActor& setScaleMethod(ScaleMethod method);
    /// Returns how the picture is fitted.
    ScaleMethod getScaleMethod() const { return m_scaleMethod; }
    /// Sets ScaleMethod::FixedWidth. @param widthPx  in pixels.
    RectActor& setFixedWidth(float widthPx);
    /// Sets ScaleMethod::FixedHeight. @param heightPx  in pixels.
    RectActor& setFixedHeight(float heightPx);
    /// Sets ScaleMethod::FixedSize. @param sizePx  in pixels.
    RectActor& setFixedSize(const IVec2<float>& sizePx);
    /// Returns the size of the fixed methods in pixels.
    const IVec2<float>& getFixedSize() const { return m_fixedSize; }
    /// Scales the fitted picture once more; 1 initially.
    RectActor& setPostScaleFactor(float factor);
    /// Returns the additional scale.
    float getPostScaleFactor() const { return m_postScaleFactor; }
    /// Places the picture along the horizontal axis.
    RectActor& setHorizontalAlign(Align align);
    /// Places the picture along the vertical axis.
    RectActor& setVerticalAlign(Align align);
    /// Returns the horizontal placement.
    Align getHorizontalAlign() const { return m_horizontalAlign; }
    /// Returns the vertical placement.
    Align getVerticalAlign() const { return m_verticalAlign; }
    /// Places the picture at a part of the free width, 0 to 1. @param fromEnd  counts from the right.
    RectActor& setHorizontalVariableAlign(float position, bool fromEnd);
    /// Places the picture at a part of the free height, 0 to 1. @param fromEnd  counts from the bottom.
    RectActor& setVerticalVariableAlign(float position, bool fromEnd);
    /// Sets which parts of the picture keep their size.
    RectActor& setExtendMethod(ExtendMethod method);
    /// Returns which parts of the picture keep their size.
    ExtendMethod getExtendMethod() const { return m_extendMethod; }
    /// Leaves out outer parts; the others keep their places. @param mask  bits of ExtendCut.
    RectActor& setExtendCut(uint32 mask);
    /// Returns the parts left out.
    uint32 getExtendCut() const { return m_extendCut; }
    /// Turns or mirrors the picture.
    RectActor& setRotation(Rotation rotation);
    /// Returns how the picture is turned or mirrored.
    Rotation getRotation() const { return m_rotation; }
    /// Rotation::FromDevice replaces the rotation by that of the device in each draw.
    RectActor& setAutoRotation(Rotation rotation);
    /// Returns the value of setAutoRotation().
    Rotation getAutoRotation() const { return m_autoRotation; }
    /// Returns the rectangle that the last draw covered, without its shadow.
    const Rect& getDisplayRect() const { return m_displayRect; }

private:
    void drawRectActorInternal(Renderer& renderer, const Rect& bounds);
    void drawPlain(Renderer& renderer, const Rect& bounds);
    void drawSprite(Renderer& renderer, const Rect& bounds);
    void drawTexture(Renderer& renderer, Texture* texture, const internal::PlacedPicture& place);
    Rotation effectiveRotation() const;
    internal::PlacedPicture place(const Rect& bounds, const IVec2<int>& sourceSize) const;
    IVec2<int> textureSize(const internal::PlacedPicture& place, const IVec2<int>& sourceSize) const;
    Texture* obtainTexture(Renderer& renderer, Sprite& sprite, const IVec2<int>& size) const;
    void chooseFilter(Texture& texture, const internal::PlacedPicture& place) const;

    std::array<IVec4<float>, 4> m_cornerColors{{{1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}}};
    SmartPointer<Sprite> m_sprite;
    SmartPointer<Texture> m_texture;
    AnimColor* m_animColor = nullptr;
    IVec4<float> m_color{1, 1, 1, 1};
    Rect m_bounds;
    Rect m_sourceBounds{0, 0, 1, 1};
    bool m_pixelExact = true;
    bool m_shadow = false;
    bool m_outline = false;
    bool m_lazyLoad = false;
    bool m_coloredCorners = false;
    ScaleMethod m_scaleMethod = ScaleMethod::Stretch;
    Align m_verticalAlign = Align::Center;
    Align m_horizontalAlign = Align::Center;
    float m_horizontalPosition = 0;
    float m_verticalPosition = 0;
    IVec2<float> m_fixedSize;
    float m_postScaleFactor = 1;
    ExtendMethod m_extendMethod = ExtendMethod::None;
    uint32 m_extendCut = 0;
    float m_outlineSize = 1;
    Rotation m_rotation = Rotation::None;
    Rotation m_autoRotation = Rotation::None;
    Rect m_displayRect;
};

} // namespace qel
