#include <hosts/window/screen.h>

#include <qel/system/core/system.h>

namespace qelwindow {

bool Screen::wantsFrame() const {
    return !qel::Object::system()->isLowPowerModeApplicable();
}

} // namespace qelwindow
