// Lists of raw touches for tests.
#pragma once

#include <qel/scene/actors/touch_state.h>

#include <initializer_list>

namespace qel::test {

/// Returns a pressed touch.
inline RawTouch rawTouch(uint64 id, const IVec2<float>& position, uint32 time, uint32 flags = 1) {
    RawTouch touch;
    touch.id = id;
    touch.position = position;
    touch.time = time;
    touch.flags = flags;
    return touch;
}

inline SmartPointer<RawTouchList> rawTouches(std::initializer_list<RawTouch> touches) {
    SmartPointer<RawTouchList> list = new RawTouchList;
    list->touches = touches;
    return list;
}

} // namespace qel::test
