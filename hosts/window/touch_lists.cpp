#include <hosts/window/touch_lists.h>

#include <qel/foundation/base/smart_pointer.h>
#include <qel/scene/actors/touch_state.h>
#include <qel/system/core/system.h>

namespace qelwindow {

void pushTouches(const PointerList& touches) {
    qel::System& system = *qel::Object::system();
    const qel::SmartPointer<qel::RawTouchList> list(new qel::RawTouchList());
    const qel::uint32 now = system.getTime();
    for (const PointerTouch& touch : touches)
        list->touches.push_back({touch.id, touch.position, now, touch.flags, touch.value, {}});
    system.getTouchState()->pushRawTouchList(list.get());
}

PointerList withoutWheel(PointerList touches) {
    std::erase_if(touches, [](const PointerTouch& touch) { return touch.flags == kTouchWheel; });
    return touches;
}

} // namespace qelwindow
