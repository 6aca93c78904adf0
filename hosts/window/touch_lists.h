// Passes the touches of a window to System.
#pragma once

#include <hosts/window/pointers.h>

namespace qelwindow {

/// Pushes @p touches, which exist now, to System::getTouchState(). @threads main thread; System must exist.
void pushTouches(const PointerList& touches);

/// Returns @p touches without that of the wheel.
PointerList withoutWheel(PointerList touches);

} // namespace qelwindow
