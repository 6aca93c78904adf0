#include <qel/scene/actors/touch_state.h>
#include <qel/system/core/system.h>

namespace qel {

TouchState* System::getTouchState() {
    return static_cast<TouchState*>(m_touchState.get());
}

} // namespace qel
