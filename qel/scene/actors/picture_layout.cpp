#include <qel/scene/actors/picture_layout_p.h>

#include <cmath>
#include <utility>

namespace qel::internal {

namespace {

bool mirrorsAlignment(Rotation rotation) {
    return (static_cast<int>(rotation) & 2) != 0;
}

Align mirrored(Align align) {
    switch (align) {
    case Align::Center:
        return Align::Center;
    case Align::End:
        return Align::Start;
    case Align::Variable:
        return Align::VariableFromEnd;
    case Align::VariableFromEnd:
        return Align::Variable;
    default:
        return Align::End;
    }
}

ScaleMethod withSwappedAxes(ScaleMethod method) {
    if (method == ScaleMethod::FixedWidth) return ScaleMethod::FixedHeight;
    return method == ScaleMethod::FixedHeight ? ScaleMethod::FixedWidth : method;
}

float offset(const PictureLayout::Axis& axis, float freeSpace) {
    switch (axis.align) {
    case Align::Center:
        return freeSpace / 2;
    case Align::End:
        return freeSpace;
    case Align::Variable:
        return freeSpace * axis.position;
    case Align::VariableFromEnd:
        return freeSpace * (1 - axis.position);
    default:
        return 0;
    }
}

IVec2<float> fitInside(const IVec2<float>& available, const IVec2<float>& source) {
    const float height = source.y * available.x / source.x;
    if (height > available.y) return {available.y * source.x / source.y, available.y};
    return {available.x, height};
}

IVec2<float> cover(const IVec2<float>& available, const IVec2<float>& source) {
    const float width = available.y * source.x / source.y;
    if (available.x > width) return {available.x, available.x * source.y / source.x};
    return {width, available.y};
}

/// Returns the extension to use. A picture that is stretched to the bounds in nine parts grows along the
/// longer side only, and not at all if both are equal.
ExtendMethod chooseExtension(const PictureLayout& layout) {
    const ExtendMethod method = layout.extendMethod;
    if (method < ExtendMethod::None || method > ExtendMethod::NineParts) return ExtendMethod::None;
    if (layout.scaleMethod != ScaleMethod::Stretch || method != ExtendMethod::NineParts) return method;
    const float width = layout.bounds.getWidth(), height = layout.bounds.getHeight();
    if (height > width) return ExtendMethod::ThreeDown;
    return height < width ? ExtendMethod::ThreeAcross : ExtendMethod::None;
}

Rect extended(const Rect& rect, const Rect& bounds, ExtendMethod method) {
    if (method == ExtendMethod::NineParts) return bounds;
    if (method == ExtendMethod::ThreeAcross) return {bounds.x0, rect.y0, bounds.x1, rect.y1};
    if (method == ExtendMethod::ThreeDown) return {rect.x0, bounds.y0, rect.x1, bounds.y1};
    return rect;
}

} // namespace

bool swapsAxes(Rotation rotation) {
    return (static_cast<int>(rotation) & 1) != 0;
}

void PictureLayout::rotate(Rotation rotation) {
    if (swapsAxes(rotation)) {
        std::swap(sourceSize.x, sourceSize.y);
        std::swap(fixedSize.x, fixedSize.y);
        std::swap(horizontal, vertical);
        scaleMethod = withSwappedAxes(scaleMethod);
    }
    if (mirrorsAlignment(rotation)) {
        horizontal.align = mirrored(horizontal.align);
        vertical.align = mirrored(vertical.align);
    }
}

IVec2<float> PictureLayout::size(ExtendMethod extend) const {
    const IVec2<float> available(bounds.getWidth(), bounds.getHeight());
    switch (scaleMethod) {
    case ScaleMethod::FitInside:
        return fitInside(available, sourceSize);
    case ScaleMethod::Cover:
        return cover(available, sourceSize);
    case ScaleMethod::FixedWidth:
        return {fixedSize.x, sourceSize.y * fixedSize.x / sourceSize.x};
    case ScaleMethod::FixedHeight:
        return {sourceSize.x * fixedSize.y / sourceSize.y, fixedSize.y};
    case ScaleMethod::FixedSize:
        return fixedSize;
    default:
        return extend == ExtendMethod::None ? available : fitInside(available, sourceSize);
    }
}

PlacedPicture PictureLayout::place() const {
    const ExtendMethod extend = chooseExtension(*this);
    IVec2<float> pictureSize = size(extend);
    pictureSize.x *= postScaleFactor;
    pictureSize.y *= postScaleFactor;
    float left = bounds.x0 + offset(horizontal, bounds.getWidth() - pictureSize.x);
    float top = bounds.y0 + offset(vertical, bounds.getHeight() - pictureSize.y);
    if (pixelExact) {
        left = std::round(left);
        top = std::round(top);
        pictureSize = {std::round(pictureSize.x), std::round(pictureSize.y)};
    }
    const Rect rect(left, top, left + pictureSize.x, top + pictureSize.y);
    return {extended(rect, bounds, extend), pictureSize, extend};
}

} // namespace qel::internal
