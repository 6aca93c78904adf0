// Receives the input of a keyboard that the host shows.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/platform/api.h>

namespace qel {

/// An object that edits text and for which the host shows its keyboard; see System::showKeyboard. System
/// keeps a weak pointer to the current one. A host derives a class and adds the functions through which its
/// platform layer passes typed text to System::getKeyboardReceiver().
/// @threads main thread.
class QEL_API KeyboardReceiver : public Object {
    QEL_CLASS(KeyboardReceiver, Object)
};

} // namespace qel
