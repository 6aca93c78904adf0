#include <qel/scene/actors/picture_parts_p.h>

#include <qel/render/renderer.h>

#include <algorithm>
#include <array>

namespace qel::internal {

namespace {

/// A range along one axis of the target and the part of the picture that is drawn there.
struct Strip {
    float sourceBegin = 0;
    float sourceEnd = 1;
    float begin = 0;
    float end = 0;
    uint32 cut = 0; ///< the bit that leaves it out
};

/// The strips along one axis in the order of drawing.
struct Strips {
    std::array<Strip, 3> strips;
    int count;

    const Strip* begin() const { return strips.data(); }
    const Strip* end() const { return strips.data() + count; }
};

Strips whole(float begin, float end) {
    return {{Strip{0, 1, begin, end, 0}, Strip(), Strip()}, 1};
}

/// Splits a range into two outer quarters of the picture, each @p cap pixels wide, and the rest.
Strips split(float begin, float end, float cap, uint32 cutFirst, uint32 cutLast) {
    return {{Strip{0, 0.25f, begin, begin + cap, cutFirst}, Strip{0.75f, 1, end - cap, end, cutLast},
             Strip{0.25f, 0.75f, begin + cap, end - cap, 0}},
            3};
}

float capSize(const PlacedPicture& place) {
    if (place.extend == ExtendMethod::ThreeAcross) return place.size.x * 0.25f;
    if (place.extend == ExtendMethod::ThreeDown) return place.size.y * 0.25f;
    return std::min(place.size.x, place.size.y) * 0.25f;
}

/// Returns the part of the picture that is seen at the part @p seen of the turned picture.
Rect beforeRotation(Rect seen, Rotation rotation) {
    if (swapsAxes(rotation)) seen = {seen.y0, seen.x0, seen.y1, seen.x1};
    const int value = static_cast<int>(rotation);
    if (value >= 2 && value <= 5) seen = {1 - seen.x1, seen.y0, 1 - seen.x0, seen.y1};
    if (value == 1 || value == 2 || value == 5 || value == 6)
        seen = {seen.x0, 1 - seen.y1, seen.x1, 1 - seen.y0};
    return seen;
}

IVec4<float> mix(const IVec4<float>& a, const IVec4<float>& b, float part) {
    IVec4<float> result;
    for (int i = 0; i < 4; ++i) result[i] = a[i] + (b[i] - a[i]) * part;
    return result;
}

/// Returns how far @p value lies between @p begin and @p end; 0 if nothing lies between them.
float partOf(float value, float begin, float end) {
    return end > begin ? (value - begin) / (end - begin) : 0;
}

/// Returns the colour at a point of @p rect whose corners have @p colors.
IVec4<float> colorAt(const Rect& rect, const IVec4<float>* colors, float x, float y) {
    const float across = partOf(x, rect.x0, rect.x1), down = partOf(y, rect.y0, rect.y1);
    return mix(mix(colors[0], colors[3], across), mix(colors[1], colors[2], across), down);
}

void drawPart(Renderer& renderer, const PictureParts& parts, const Rect& source, const Rect& target) {
    const int orientation = static_cast<int>(parts.rotation);
    const Rect turned = beforeRotation(source, parts.rotation);
    if (parts.cornerColors == nullptr)
        return renderer.drawTextureInternal(parts.texture, turned, target, orientation);
    const auto at = [&](float x, float y) { return colorAt(parts.place.rect, parts.cornerColors, x, y); };
    const IVec4<float> colors[] = {at(target.x0, target.y0), at(target.x0, target.y1),
                                   at(target.x1, target.y1), at(target.x1, target.y0)};
    renderer.drawTextureInternal(parts.texture, turned, target, orientation, colors);
}

} // namespace

// The strips of a cut part stay empty; the other parts keep their places.
void PictureParts::draw(Renderer& renderer) const {
    const Rect& rect = place.rect;
    const float cap = capSize(place);
    const bool splitsAcross = place.extend != ExtendMethod::ThreeDown;
    const bool splitsDown = place.extend != ExtendMethod::ThreeAcross;
    const Strips columns = splitsAcross
                               ? split(rect.x0, rect.x1, cap, RectActor::kCutLeft, RectActor::kCutRight)
                               : whole(rect.x0, rect.x1);
    const Strips rows = splitsDown ? split(rect.y0, rect.y1, cap, RectActor::kCutTop, RectActor::kCutBottom)
                                   : whole(rect.y0, rect.y1);
    for (const Strip& row : rows)
        for (const Strip& column : columns)
            if ((cut & (row.cut | column.cut)) == 0)
                drawPart(renderer, *this,
                         {column.sourceBegin, row.sourceBegin, column.sourceEnd, row.sourceEnd},
                         {column.begin, row.begin, column.end, row.end});
}

} // namespace qel::internal
