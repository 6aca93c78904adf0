// Pictures that the host draws itself.
#pragma once

#include <qel/foundation/base/smart_pointer.h>
#include <qel/render/sprite.h>

namespace qelscreens {

/// Returns a landscape of 192 by 128 pixels, which shows how it is turned.
qel::SmartPointer<qel::Sprite> landscapeSprite();
/// Returns a frame with round corners, whose quarters are the parts that RectActor::setExtendMethod() keeps.
qel::SmartPointer<qel::Sprite> frameSprite();

} // namespace qelscreens
