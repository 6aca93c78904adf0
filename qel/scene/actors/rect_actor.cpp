#include <qel/scene/actors/rect_actor.h>

#include <qel/render/renderer.h>
#include <qel/scene/actors/color_scope.h>
#include <qel/scene/actors/picture_layout_p.h>
#include <qel/scene/actors/picture_parts_p.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace qel {

namespace {

constexpr uint32 kFadeMs = 300;
constexpr int kSmallestTexture = 4;
constexpr Rect kWholeTexture(0, 0, 1, 1);

/// Converts to int, with saturation; NaN becomes 0.
int toInt(float value) {
    if (!(value > -2147483648.0f)) return value <= -2147483648.0f ? -2147483647 - 1 : 0;
    return value < 2147483648.0f ? static_cast<int>(value) : 2147483647;
}

/// Returns the length of a texture whose part @p part is drawn on @p length pixels.
float wholeLength(float length, float part) {
    return std::round(length / std::fabs(part));
}

int limitLength(int length, int imageLength) {
    return std::min(std::max(length, kSmallestTexture), imageLength);
}

/// Returns the alpha with which a texture of this age is drawn.
float fadeAlpha(const Texture& texture) {
    const uint32 age = internal::g_system->getTimeFast() - texture.getTime();
    if (texture.getTime() == 0 || age >= kFadeMs) return 1;
    const float part = static_cast<float>(age) / kFadeMs;
    return part * part;
}

bool isWhole(float value) {
    return std::floor(value) == value;
}

} // namespace

RectActor::RectActor() = default;
RectActor::~RectActor() = default;

// --- setters ----------------------------------------------------------------------------------------

RectActor& RectActor::setSprite(const SmartPointer<Sprite>& sprite) {
    m_sprite = sprite;
    return *this;
}

RectActor& RectActor::setSprite(Sprite* sprite) {
    m_sprite = sprite;
    return *this;
}

RectActor& RectActor::setSprite(SmartCStr name) {
    return setSprite(name.view().empty() ? nullptr : system()->getSprite(name));
}

RectActor& RectActor::setTexture(Texture* texture) {
    m_texture = texture;
    return *this;
}

RectActor& RectActor::setColor(const IVec4<float>& color) {
    m_color = color;
    return *this;
}

RectActor& RectActor::setAnimColor(AnimColor* color) {
    m_animColor = color;
    return *this;
}

RectActor& RectActor::setCornerColors(const IVec4<float>& leftTop, const IVec4<float>& leftBottom,
                                      const IVec4<float>& rightBottom, const IVec4<float>& rightTop) {
    m_cornerColors = {leftTop, leftBottom, rightBottom, rightTop};
    return setColoredCorners(true);
}

RectActor& RectActor::setColoredCorners(bool colored) {
    m_coloredCorners = colored;
    return *this;
}

RectActor& RectActor::setBounds(const Rect& bounds) {
    m_bounds = bounds;
    return *this;
}

RectActor& RectActor::setSourceBounds(const Rect& bounds) {
    m_sourceBounds = bounds;
    return *this;
}

RectActor& RectActor::setPixelExact(bool exact) {
    m_pixelExact = exact;
    return *this;
}

RectActor& RectActor::setShadow(bool shadow) {
    m_shadow = shadow;
    return *this;
}

RectActor& RectActor::setOutline(bool outline) {
    m_outline = outline;
    return *this;
}

RectActor& RectActor::setOutlineSize(float sizePx) {
    m_outlineSize = sizePx;
    return *this;
}

RectActor& RectActor::setLazyLoad(bool lazy) {
    m_lazyLoad = lazy;
    return *this;
}

RectActor& RectActor::setScaleMethod(ScaleMethod method) {
    m_scaleMethod = method;
    return *this;
}

RectActor& RectActor::setFixedWidth(float widthPx) {
    m_fixedSize.x = widthPx;
    return setScaleMethod(ScaleMethod::FixedWidth);
}

RectActor& RectActor::setFixedHeight(float heightPx) {
    m_fixedSize.y = heightPx;
    return setScaleMethod(ScaleMethod::FixedHeight);
}

RectActor& RectActor::setFixedSize(const IVec2<float>& sizePx) {
    m_fixedSize = sizePx;
    return setScaleMethod(ScaleMethod::FixedSize);
}

RectActor& RectActor::setPostScaleFactor(float factor) {
    m_postScaleFactor = factor;
    return *this;
}

RectActor& RectActor::setHorizontalAlign(Align align) {
    m_horizontalAlign = align;
    return *this;
}

RectActor& RectActor::setVerticalAlign(Align align) {
    m_verticalAlign = align;
    return *this;
}

RectActor& RectActor::setHorizontalVariableAlign(float position, bool fromEnd) {
    m_horizontalPosition = position;
    return setHorizontalAlign(fromEnd ? Align::VariableFromEnd : Align::Variable);
}

RectActor& RectActor::setVerticalVariableAlign(float position, bool fromEnd) {
    m_verticalPosition = position;
    return setVerticalAlign(fromEnd ? Align::VariableFromEnd : Align::Variable);
}

RectActor& RectActor::setExtendMethod(ExtendMethod method) {
    m_extendMethod = method;
    return *this;
}

RectActor& RectActor::setExtendCut(uint32 mask) {
    m_extendCut = mask;
    return *this;
}

RectActor& RectActor::setRotation(Rotation rotation) {
    m_rotation = rotation;
    return *this;
}

RectActor& RectActor::setAutoRotation(Rotation rotation) {
    m_autoRotation = rotation;
    return *this;
}

// --- drawing ----------------------------------------------------------------------------------------

void RectActor::onRender(Renderer* renderer) {
    const ColorScope color(*renderer, m_color, m_animColor);
    const Rect bounds = m_bounds;
    if (!color.isVisible() || bounds.isEmpty()) return;
    if (m_shadow) {
        const ColorScope shadow(*renderer, ColorScope::shadow());
        const auto offset = static_cast<float>(system()->getTheme()->dotSize());
        drawRectActorInternal(
            *renderer, {bounds.x0 + offset, bounds.y0 + offset, bounds.x1 + offset, bounds.y1 + offset});
    }
    drawRectActorInternal(*renderer, bounds);
}

void RectActor::drawRectActorInternal(Renderer& renderer, const Rect& bounds) {
    if (m_sprite && m_sprite->isValid()) return drawSprite(renderer, bounds);
    if (!m_texture || !m_texture->isValid()) return drawPlain(renderer, bounds);
    const IVec2<int> size = m_texture->getSize();
    if (size.x > 0 && size.y > 0) drawTexture(renderer, m_texture.get(), place(bounds, size));
}

void RectActor::drawPlain(Renderer& renderer, const Rect& bounds) {
    m_displayRect = bounds;
    if (!m_outline)
        return m_coloredCorners ? renderer.drawRectInternal(bounds, m_cornerColors.data())
                                : renderer.drawRectInternal(bounds);
    const float size = m_outlineSize;
    renderer.drawRectInternal({bounds.x0, bounds.y0, bounds.x1, std::min(bounds.y0 + size, bounds.y1)});
    renderer.drawRectInternal({bounds.x0, std::max(bounds.y1 - size, bounds.y0), bounds.x1, bounds.y1});
    renderer.drawRectInternal({bounds.x0, bounds.y0, std::min(bounds.x0 + size, bounds.x1), bounds.y1});
    renderer.drawRectInternal({std::max(bounds.x1 - size, bounds.x0), bounds.y0, bounds.x1, bounds.y1});
}

// A sprite whose size is known need not have its pixels in memory: its texture may still exist.
void RectActor::drawSprite(Renderer& renderer, const Rect& bounds) {
    const SmartPointer<Sprite> sprite = m_sprite; // a function that draws it may replace it
    if (!sprite->hasMetaData()) {
        if (m_lazyLoad) return system()->prefetchSprite(sprite.get());
        sprite->preloadData();
    }
    const IVec2<int> size = sprite->hasMetaData() ? sprite->getSize() : IVec2<int>();
    if (size.x <= 0 || size.y <= 0) return;
    const internal::PlacedPicture placed = place(bounds, size);
    m_displayRect = placed.rect;
    const SmartPointer<Texture> texture = obtainTexture(renderer, *sprite, textureSize(placed, size));
    if (!texture) return;
    std::optional<ColorScope> fade;
    if (const float alpha = m_lazyLoad ? fadeAlpha(*texture) : 1; alpha < 1) {
        fade.emplace(renderer, IVec4<float>(1, 1, 1, alpha));
        system()->disableLowPowerModeShortly();
    }
    drawTexture(renderer, texture.get(), placed);
}

Rotation RectActor::effectiveRotation() const {
    const Rotation rotation =
        m_autoRotation == Rotation::FromDevice ? system()->getCurrentRotation() : m_rotation;
    return static_cast<Rotation>(static_cast<int>(rotation) & 7);
}

internal::PlacedPicture RectActor::place(const Rect& bounds, const IVec2<int>& sourceSize) const {
    internal::PictureLayout layout{bounds,
                                   IVec2<float>(sourceSize),
                                   m_scaleMethod,
                                   m_fixedSize,
                                   {m_horizontalAlign, m_horizontalPosition},
                                   {m_verticalAlign, m_verticalPosition},
                                   m_postScaleFactor,
                                   m_extendMethod,
                                   m_pixelExact};
    layout.rotate(effectiveRotation());
    return layout.place();
}

/// Returns the size of the texture whose visible part has about as many pixels as are drawn.
IVec2<int> RectActor::textureSize(const internal::PlacedPicture& placed, const IVec2<int>& sourceSize) const {
    IVec2<float> size = placed.size;
    if (internal::swapsAxes(effectiveRotation())) std::swap(size.x, size.y);
    if (placed.extend == ExtendMethod::None) {
        const IVec2<float> part(m_sourceBounds.getWidth(), m_sourceBounds.getHeight());
        if (part.x == 0 || part.y == 0) return sourceSize;
        size = {wholeLength(size.x, part.x), wholeLength(size.y, part.y)};
    }
    return {limitLength(toInt(size.x), sourceSize.x), limitLength(toInt(size.y), sourceSize.y)};
}

/// Returns the texture of a sprite in a size; null if it does not exist yet.
Texture* RectActor::obtainTexture(Renderer& renderer, Sprite& sprite, const IVec2<int>& size) const {
    if (!m_lazyLoad) {
        Texture* const texture = sprite.getTexture(&renderer, size);
        if (texture != nullptr) texture->clearTime();
        return texture;
    }
    Texture* const texture = sprite.hasTexture(size);
    if (texture != nullptr && texture->getRenderer() == &renderer) return texture;
    system()->prefetchSprite(&sprite, &renderer, size);
    return nullptr;
}

void RectActor::drawTexture(Renderer& renderer, Texture* texture, const internal::PlacedPicture& placed) {
    m_displayRect = placed.rect;
    chooseFilter(*texture, placed);
    const Rotation rotation = effectiveRotation();
    const IVec4<float>* const corners = m_coloredCorners ? m_cornerColors.data() : nullptr;
    if (placed.extend != ExtendMethod::None)
        return internal::PictureParts{texture, placed, rotation, m_extendCut, corners}.draw(renderer);
    const int orientation = static_cast<int>(rotation);
    if (corners == nullptr)
        return renderer.drawTextureInternal(texture, m_sourceBounds, placed.rect, orientation);
    renderer.drawTextureInternal(texture, m_sourceBounds, placed.rect, orientation, corners);
}

/// Draws texels as they are if each covers one pixel.
void RectActor::chooseFilter(Texture& texture, const internal::PlacedPicture& placed) const {
    const Rect& rect = placed.rect;
    const IVec2<float> size(texture.getSize());
    const bool isExact = isWhole(rect.x0) && isWhole(rect.y0) && rect.getWidth() == size.x &&
                         rect.getHeight() == size.y && m_sourceBounds == kWholeTexture &&
                         placed.extend == ExtendMethod::None;
    texture.setFilter(isExact ? Filter::Nearest : Filter::Bilinear);
}

} // namespace qel
