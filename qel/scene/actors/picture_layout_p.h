// PictureLayout: where a RectActor draws its picture.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/rect.h>
#include <qel/scene/actors/rect_actor.h>

namespace qel::internal {

/// Returns true if @p rotation exchanges width and height.
bool swapsAxes(Rotation rotation);

/// The place of a picture.
struct PlacedPicture {
    Rect rect;           ///< what is covered
    IVec2<float> size;   ///< of the picture before it is extended
    ExtendMethod extend; ///< how it is extended to rect
};

/// What decides where a picture is drawn.
struct PictureLayout {
    /// The placement along one axis.
    struct Axis {
        Align align;
        float position; ///< of the variable alignments
    };

    Rect bounds;
    IVec2<float> sourceSize;
    ScaleMethod scaleMethod;
    IVec2<float> fixedSize;
    Axis horizontal;
    Axis vertical;
    float postScaleFactor;
    ExtendMethod extendMethod;
    bool pixelExact;

    /// Adapts everything but the bounds to a picture that is turned or mirrored.
    void rotate(Rotation rotation);
    /// Returns the place of the picture.
    PlacedPicture place() const;

private:
    IVec2<float> size(ExtendMethod extend) const;
};

} // namespace qel::internal
